// Calls the 32-bit driver with stacks that keep four-byte alignment and no more, as programs of its day do: loading,
// a frame with its workers, a read-back and the swap. Exit code 0 when the picture is right for every skew.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

/// Calls the stdcall function `target` with `count` words from a stack pointer that is `skew` bytes below a multiple of
/// 64 before the words are pushed.
std::uint32_t CallSkewed(void* target, const std::uint32_t* words, std::uint32_t count, std::uint32_t skew) {
  std::uint32_t result;
  asm volatile(
      "movl %%esp, %%ebx\n\t"
      "andl $-64, %%esp\n\t"
      "subl %%eax, %%esp\n"
      "1:\n\t"
      "testl %%ecx, %%ecx\n\t"
      "jz 2f\n\t"
      "pushl -4(%%edi,%%ecx,4)\n\t"
      "decl %%ecx\n\t"
      "jmp 1b\n"
      "2:\n\t"
      "call *%%esi\n\t"
      "movl %%ebx, %%esp"
      : "=a"(result), "+c"(count)
      : "a"(skew), "S"(target), "D"(words)
      : "ebx", "edx", "memory", "cc");
  return result;
}

std::uint32_t Word(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}
std::uint32_t Word(int value) { return static_cast<std::uint32_t>(value); }
std::uint32_t Word(const void* value) { return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(value)); }

HMODULE driver;
std::uint32_t skew;

template <typename... Arguments>
std::uint32_t Call(const char* name, Arguments... arguments) {
  void* target = reinterpret_cast<void*>(GetProcAddress(driver, name));
  if (target == nullptr) {
    std::fprintf(stderr, "no export %s\n", name);
    ExitProcess(2);
  }
  const std::uint32_t words[] = {Word(arguments)..., 0};
  return CallSkewed(target, words, sizeof...(Arguments), skew);
}

/// A triangle over the whole view, seen through a turn that computes in doubles. True when it is there.
bool DrawsRight(HDC device) {
  Call("glViewport", 0, 0, 64, 64);
  Call("glMatrixMode", 0x1701);
  Call("glLoadIdentity");
  Call("glMatrixMode", 0x1700);
  Call("glLoadIdentity");
  Call("glRotatef", 30.0f, 0.0f, 0.0f, 1.0f);
  Call("glClear", 0x4100);
  Call("glBegin", 4);
  Call("glColor4f", 1.0f, 0.0f, 0.0f, 1.0f);
  Call("glTexCoord2f", 0.0f, 0.0f);
  Call("glVertex3f", -9.0f, -9.0f, 0.0f);
  Call("glVertex3f", 9.0f, -9.0f, 0.0f);
  Call("glVertex3f", 0.0f, 18.0f, 0.0f);
  Call("glEnd");
  std::uint32_t pixel = 0;
  Call("glReadPixels", 32, 32, 1, 1, 0x80E1, 0x1401, static_cast<const void*>(&pixel));
  Call("wglSwapBuffers", static_cast<const void*>(device));
  if (pixel == 0xFFFF0000u) return true;
  std::fprintf(stderr, "skew %u: pixel 0x%08X\n", static_cast<unsigned>(skew), static_cast<unsigned>(pixel));
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  const char* path = count > 1 ? arguments[1] : "opengl32.dll";
  // Loading starts the workers; it too is called askew.
  const std::uint32_t words[] = {Word(static_cast<const void*>(path))};
  skew = 4;
  driver = reinterpret_cast<HMODULE>(CallSkewed(reinterpret_cast<void*>(&LoadLibraryA), words, 1, skew));
  if (driver == nullptr) {
    std::fprintf(stderr, "cannot load %s\n", path);
    return 2;
  }
  HWND window = CreateWindowA("STATIC", "misaligned stack", WS_POPUP | WS_VISIBLE, 0, 0, 64, 64, nullptr, nullptr,
                              nullptr, nullptr);
  HDC device = window != nullptr ? GetDC(window) : nullptr;
  if (device == nullptr) {
    std::fprintf(stderr, "no window\n");
    return 2;
  }
  bool right = true;
  HGLRC context = nullptr;
  for (skew = 0; skew < 64; skew += 4) {
    // A context makes a device, which takes its time: one for each skew against the 16 bytes that presentation stores
    // in.
    if (skew < 16) {
      if (context != nullptr) Call("wglDeleteContext", static_cast<const void*>(context));
      context = reinterpret_cast<HGLRC>(Call("wglCreateContext", static_cast<const void*>(device)));
      if (context == nullptr) {
        std::fprintf(stderr, "no context\n");
        return 2;
      }
    }
    Call("wglMakeCurrent", static_cast<const void*>(device), static_cast<const void*>(context));
    right = DrawsRight(device) && right;
  }
  Call("wglDeleteContext", static_cast<const void*>(context));
  if (right) std::puts("all skews right");
  return right ? 0 : 1;
}
