// One library at one thread count: reads "SCENE WIDTH HEIGHT FRAMES" lines and answers each with its frame times.
//
// usage: frame_host tlr2|osmesa LIBRARY.so [--picture FILE.ppm]
// Answer: "SCENE median min processor" in milliseconds over FRAMES frames after a warm-up of two, or "error TEXT".
// `processor` is the least processor time of a frame, over all threads: what remains comparable on a busy machine.
#include <dlfcn.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "scene.h"

namespace {

using bench::Gl;
using bench::Stage;

// A library with a context made for each scene.
struct Library {
  void* handle = nullptr;
  bool ours = false;
  Gl gl = {};
  // ours
  void* (*createWindow)(std::int32_t, std::int32_t) = nullptr;
  void (*destroyWindow)(void*) = nullptr;
  void* (*createContext)(void*) = nullptr;
  int (*makeCurrent)(void*, void*) = nullptr;
  int (*deleteContext)(void*) = nullptr;
  int (*swapBuffers)(void*) = nullptr;
  std::uint32_t (*copyPicture)(void*, std::uint32_t*, std::uint32_t) = nullptr;
  // the peer
  void* (*osCreate)(std::uint32_t, std::int32_t, std::int32_t, std::int32_t, void*) = nullptr;
  unsigned char (*osMakeCurrent)(void*, void*, std::uint32_t, std::int32_t, std::int32_t) = nullptr;
  void (*osDestroy)(void*) = nullptr;
  void (*finish)() = nullptr;
};

template <typename Function>
void Find(const Library& library, Function& function, const std::string& name) {
  void* symbol = dlsym(library.handle, name.c_str());
  if (symbol == nullptr) {
    std::fprintf(stderr, "frame_host: no %s in the library\n", name.c_str());
    std::exit(2);
  }
  std::memcpy(&function, &symbol, sizeof function);
}

void LoadLibrary(Library& library, const char* kind, const char* path) {
  library.handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library.handle == nullptr) {
    std::fprintf(stderr, "frame_host: %s\n", dlerror());
    std::exit(2);
  }
  library.ours = std::strcmp(kind, "tlr2") == 0;
  Gl& gl = library.gl;
#define TLR2_FIND(name) Find(library, gl.name, "gl" #name)
  TLR2_FIND(Begin), TLR2_FIND(End), TLR2_FIND(Vertex2f), TLR2_FIND(Vertex3f), TLR2_FIND(Color4f);
  TLR2_FIND(Color4ub), TLR2_FIND(TexCoord2f), TLR2_FIND(MatrixMode), TLR2_FIND(LoadIdentity), TLR2_FIND(Frustum);
  TLR2_FIND(Ortho), TLR2_FIND(Translatef), TLR2_FIND(Rotatef), TLR2_FIND(PushMatrix), TLR2_FIND(PopMatrix);
  TLR2_FIND(Viewport), TLR2_FIND(Enable), TLR2_FIND(Disable), TLR2_FIND(BlendFunc), TLR2_FIND(AlphaFunc);
  TLR2_FIND(DepthFunc), TLR2_FIND(DepthMask), TLR2_FIND(ClearColor), TLR2_FIND(ClearDepth), TLR2_FIND(Clear);
  TLR2_FIND(GenTextures), TLR2_FIND(DeleteTextures), TLR2_FIND(BindTexture), TLR2_FIND(TexImage2D);
  TLR2_FIND(TexParameteri), TLR2_FIND(TexEnvi), TLR2_FIND(ReadPixels), TLR2_FIND(GetString);
#undef TLR2_FIND
  if (library.ours) {
    Find(library, library.createWindow, "tlr2HeadlessCreateWindow");
    Find(library, library.destroyWindow, "tlr2HeadlessDestroyWindow");
    Find(library, library.copyPicture, "tlr2HeadlessCopyPicture");
    Find(library, library.createContext, "wglCreateContext");
    Find(library, library.makeCurrent, "wglMakeCurrent");
    Find(library, library.deleteContext, "wglDeleteContext");
    Find(library, library.swapBuffers, "wglSwapBuffers");
  } else {
    Find(library, library.osCreate, "OSMesaCreateContextExt");
    Find(library, library.osMakeCurrent, "OSMesaMakeCurrent");
    Find(library, library.osDestroy, "OSMesaDestroyContext");
    Find(library, library.finish, "glFinish");
  }
}

double Milliseconds() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Of the whole process, in milliseconds.
double ProcessorMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

void WritePicture(const std::string& path, int width, int height, const std::uint32_t* words, bool bottomUp) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return;
  std::fprintf(file, "P6 %d %d 255\n", width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint32_t word = words[static_cast<std::size_t>(bottomUp ? height - 1 - y : y) * width + x];
      const unsigned char rgb[3] = {static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 8),
                                    static_cast<unsigned char>(word)};
      std::fwrite(rgb, 1, 3, file);
    }
  }
  std::fclose(file);
}

std::string RunScene(Library& library, const bench::SceneRow& scene, int width, int height, int frames,
                     const std::string& picture) {
  const Gl& gl = library.gl;
  std::vector<std::uint32_t> buffer(static_cast<std::size_t>(width) * height);
  void* window = nullptr;
  void* context = nullptr;
  if (library.ours) {
    window = library.createWindow(width, height);
    context = library.createContext(window);
    if (context == nullptr || library.makeCurrent(window, context) == 0) return "error no context";
  } else {
    context = library.osCreate(1 /* BGRA */, 24, 0, 0, nullptr);
    if (context == nullptr || library.osMakeCurrent(context, buffer.data(), bench::kUnsignedByte, width, height) == 0) {
      return "error no context";
    }
  }
  Stage stage{gl, width, height, {}, {}, {}};
  gl.TexEnvi(0x2300, 0x2200, 0x2100);  // modulate
  scene.setUp(stage);
  std::vector<double> times, processor;
  constexpr int kWarmUp = 2;
  for (int frame = 0; frame < frames + kWarmUp; ++frame) {
    const double begin = Milliseconds(), processorBegin = ProcessorMilliseconds();
    scene.draw(stage, frame);
    if (library.ours) {
      library.swapBuffers(window);
    } else {
      library.finish();
    }
    if (frame < kWarmUp) continue;
    times.push_back(Milliseconds() - begin);
    processor.push_back(ProcessorMilliseconds() - processorBegin);
  }
  if (!picture.empty()) {
    if (library.ours) library.copyPicture(window, buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    WritePicture(picture, width, height, buffer.data(), !library.ours);
  }
  gl.DeleteTextures(static_cast<std::int32_t>(stage.textures.size()), stage.textures.data());
  if (library.ours) {
    library.swapBuffers(window);
    library.makeCurrent(nullptr, nullptr);
    library.deleteContext(context);
    library.destroyWindow(window);
  } else {
    library.osDestroy(context);
  }
  std::sort(times.begin(), times.end());
  std::ostringstream answer;
  answer << scene.name << ' ' << times[times.size() / 2] << ' ' << times.front() << ' '
         << *std::min_element(processor.begin(), processor.end());
  return answer.str();
}

}  // namespace

int main(int count, char** values) {
  if (count == 2 && std::strcmp(values[1], "--list") == 0) {
    for (const bench::SceneRow& scene : bench::Scenes()) std::printf("%s\t%s\n", scene.name, scene.title);
    return 0;
  }
  if (count < 3 || (std::strcmp(values[1], "tlr2") != 0 && std::strcmp(values[1], "osmesa") != 0)) {
    std::fprintf(stderr, "usage: frame_host tlr2|osmesa LIBRARY.so [PICTURE.ppm]\n       frame_host --list\n");
    return 2;
  }
  const std::string picture = count > 3 ? values[3] : "";
  Library library;
  LoadLibrary(library, values[1], values[2]);
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string name;
    int width = 0;
    int height = 0;
    int frames = 0;
    words >> name >> width >> height >> frames;
    const auto& scenes = bench::Scenes();
    const auto scene = std::find_if(scenes.begin(), scenes.end(), [&](const auto& row) { return name == row.name; });
    if (!words || scene == scenes.end() || width < 16 || height < 16 || frames < 1) {
      std::printf("error bad request '%s'\n", line.c_str());
    } else {
      std::printf("%s\n", RunScene(library, *scene, width, height, frames, picture).c_str());
    }
    std::fflush(stdout);
  }
  return 0;
}
