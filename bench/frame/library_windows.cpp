// The driver as a Windows program has it: opengl32.dll loaded by its path, a window that is never shown.
#include <windows.h>

// After it: these rely on its names.
#include <d3d11.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "library.h"

namespace bench {
namespace {

struct Library {
  HMODULE module = nullptr;
  Gl gl = {};
  HWND window = nullptr;
  HDC deviceContext = nullptr;
  void* context = nullptr;
  void*(WINAPI* createContext)(void*) = nullptr;
  int(WINAPI* makeCurrent)(void*, void*) = nullptr;
  int(WINAPI* deleteContext)(void*) = nullptr;
  int(WINAPI* swapBuffers)(void*) = nullptr;
};
Library library;

template <typename Function>
void Find(Function& function, const char* name) {
  const FARPROC symbol = GetProcAddress(library.module, name);
  if (symbol == nullptr) {
    std::fprintf(stderr, "frame_host: no %s in the library\n", name);
    std::exit(2);
  }
  std::memcpy(&function, &symbol, sizeof function);
}

// Showing a frame begins with the unmapping of the texture that it was drawn into and ends with the mapping of the
// next one; the driver makes neither call at any other time of a steady frame. Both are watched in the table of
// functions that all contexts of the system's class share, so the driver knows nothing of it.
using MapFn = HRESULT(STDMETHODCALLTYPE*)(ID3D11DeviceContext*, ID3D11Resource*, UINT, D3D11_MAP, UINT,
                                          D3D11_MAPPED_SUBRESOURCE*);
using UnmapFn = void(STDMETHODCALLTYPE*)(ID3D11DeviceContext*, ID3D11Resource*, UINT);
constexpr int kMapSlot = 14, kUnmapSlot = 15;

MapFn systemMap = nullptr;
UnmapFn systemUnmap = nullptr;
double presentBegin = 0, presentEnd = 0;

HRESULT STDMETHODCALLTYPE WatchedMap(ID3D11DeviceContext* context, ID3D11Resource* resource, UINT sub, D3D11_MAP type,
                                     UINT flags, D3D11_MAPPED_SUBRESOURCE* mapped) {
  const HRESULT result = systemMap(context, resource, sub, type, flags, mapped);
  presentEnd = Milliseconds();
  return result;
}
void STDMETHODCALLTYPE WatchedUnmap(ID3D11DeviceContext* context, ID3D11Resource* resource, UINT sub) {
  presentBegin = Milliseconds();
  systemUnmap(context, resource, sub);
}

void WatchPresents() {
  ID3D11Device* device = nullptr;
  ID3D11DeviceContext* context = nullptr;
  // By name: where Direct3D itself imports opengl32.dll, the driver must be loaded before it.
  const FARPROC found = GetProcAddress(LoadLibraryA("d3d11.dll"), "D3D11CreateDevice");
  PFN_D3D11_CREATE_DEVICE create = nullptr;
  std::memcpy(&create, &found, sizeof create);
  if (create == nullptr || FAILED(create(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, D3D11_CREATE_DEVICE_BGRA_SUPPORT,
                                         nullptr, 0, D3D11_SDK_VERSION, &device, nullptr, &context))) {
    std::fprintf(stderr, "frame_host: no Direct3D device\n");
    std::exit(2);
  }
  void** table = *reinterpret_cast<void***>(context);
  std::memcpy(&systemMap, &table[kMapSlot], sizeof systemMap);
  std::memcpy(&systemUnmap, &table[kUnmapSlot], sizeof systemUnmap);
  DWORD before = 0;
  VirtualProtect(&table[kMapSlot], 2 * sizeof(void*), PAGE_READWRITE, &before);
  table[kMapSlot] = reinterpret_cast<void*>(WatchedMap);
  table[kUnmapSlot] = reinterpret_cast<void*>(WatchedUnmap);
  VirtualProtect(&table[kMapSlot], 2 * sizeof(void*), before, &before);
  context->Release();
  device->Release();
}

double ProcessorMilliseconds() {
  FILETIME created, ended, kernel, user;
  GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
  const auto ticks = [](const FILETIME& t) { return static_cast<double>(t.dwHighDateTime) * 0x1p32 + t.dwLowDateTime; };
  return (ticks(kernel) + ticks(user)) * 1e-4;
}

double workStart = 0;

}  // namespace

double Milliseconds() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void StartWork() { workStart = ProcessorMilliseconds(); }

void WorkSinceStart(FrameTimes& times) { times.processor = times.chain = ProcessorMilliseconds() - workStart; }

bool OpenLibrary(const char* kind, const char* path) {
  if (std::strcmp(kind, "tlr2") != 0) return false;
  library.module = LoadLibraryA(path);
  if (library.module == nullptr) {
    std::fprintf(stderr, "frame_host: %s cannot be loaded: %lu\n", path, GetLastError());
    std::exit(2);
  }
#define BENCH_FIND(name) Find(library.gl.name, "gl" #name);
  BENCH_GL_FUNCTIONS(BENCH_FIND)
#undef BENCH_FIND
  Find(library.createContext, "wglCreateContext");
  Find(library.makeCurrent, "wglMakeCurrent");
  Find(library.deleteContext, "wglDeleteContext");
  Find(library.swapBuffers, "wglSwapBuffers");
  WatchPresents();
  return true;
}

const Gl& LibraryFunctions() { return library.gl; }

bool OpenTarget(int width, int height) {
  WNDCLASSA type = {};
  type.lpfnWndProc = DefWindowProcA;
  type.hInstance = GetModuleHandleA(nullptr);
  type.lpszClassName = "FrameHost";
  RegisterClassA(&type);
  library.window = CreateWindowExA(0, type.lpszClassName, "", WS_POPUP, 0, 0, width, height, nullptr, nullptr,
                                   type.hInstance, nullptr);
  library.deviceContext = GetDC(library.window);
  library.context = library.createContext(library.deviceContext);
  return library.context != nullptr && library.makeCurrent(library.deviceContext, library.context) != 0;
}

void EndFrame() {
  presentBegin = presentEnd = 0;
  library.swapBuffers(library.deviceContext);
}

double PresentMilliseconds() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
  return presentBegin > 0 && presentEnd > presentBegin ? presentEnd - presentBegin : 0;
}

std::vector<std::uint32_t> TargetPicture() { return {}; }

void CloseTarget() {
  library.swapBuffers(library.deviceContext);
  library.makeCurrent(nullptr, nullptr);
  library.deleteContext(library.context);
  ReleaseDC(library.window, library.deviceContext);
  DestroyWindow(library.window);
}

}  // namespace bench
