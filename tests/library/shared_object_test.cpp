// The native library as a program loads it: its names and nothing else, started by loading, ended by unloading.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

const char* const kNames[] = {
#define TLR2_GL(name, ...) "gl" #name,
#define TLR2_WGL(name, ...) "wgl" #name,
#include "api/table/entries.def"
};

class SharedObject : public ::testing::Test {
 protected:
  void SetUp() override {
    // The library writes its call summary into the current directory when it is unloaded.
    home = std::filesystem::current_path();
    folder = std::filesystem::temp_directory_path() / "tlr2_shared_object_test";
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
    library = dlopen(TLR2_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
  }
  void TearDown() override {
    if (library != nullptr) dlclose(library);
    std::filesystem::current_path(home);
    std::filesystem::remove_all(folder);
  }
  template <typename Function>
  Function* Find(const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
  }

  std::filesystem::path home, folder;
  void* library = nullptr;
};

TEST_F(SharedObject, ExportsEveryEntryAndTheHeadlessWindow) {
  EXPECT_EQ(sizeof kNames / sizeof kNames[0], 363u);
  for (const char* name : kNames) EXPECT_NE(dlsym(library, name), nullptr) << name;
  EXPECT_NE(dlsym(library, "tlr2HeadlessCreateWindow"), nullptr);
}

TEST_F(SharedObject, HidesItsInside) {
  EXPECT_EQ(dlsym(library, "_ZN4tlr219DriverStateInstanceEv"), nullptr);
  EXPECT_EQ(dlsym(library, "tlr2_TileKernel"), nullptr);
}

TEST_F(SharedObject, ShowsAPictureInAHeadlessWindow) {
  void* window = Find<void*(std::int32_t, std::int32_t)>("tlr2HeadlessCreateWindow")(32, 16);
  ASSERT_NE(window, nullptr);
  void* context = Find<void*(void*)>("wglCreateContext")(window);
  ASSERT_NE(context, nullptr);
  Find<int(void*, void*)>("wglMakeCurrent")(window, context);
  Find<void(int, int, int, int)>("glViewport")(0, 0, 32, 16);
  Find<void(float, float, float, float)>("glClearColor")(0, 1, 0, 1);
  Find<void(unsigned)>("glClear")(0x4100);
  EXPECT_EQ(Find<int(void*)>("wglSwapBuffers")(window), 1);
  std::uint32_t pixels[32 * 16] = {};
  EXPECT_EQ(Find<std::uint32_t(void*, std::uint32_t*, std::uint32_t)>("tlr2HeadlessCopyPicture")(window, pixels, 512),
            512u);
  for (const std::uint32_t pixel : pixels) ASSERT_EQ(pixel & 0xFFFFFFu, 0x00FF00u);
  EXPECT_EQ(Find<int(void*)>("wglDeleteContext")(context), 1);
  Find<void(void*)>("tlr2HeadlessDestroyWindow")(window);
}

TEST(SharedObjectEnd, TheEndOfTheProcessWritesTheCallSummary) {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tlr2_shared_object_end";
  std::filesystem::create_directories(folder);
  // In a process of its own, which has loaded nothing before.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        std::filesystem::current_path(folder);
        void* library = dlopen(TLR2_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) std::_Exit(1);
        reinterpret_cast<void (*)()>(dlsym(library, "glFlush"))();
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "");
  std::ifstream summary(folder / "TLR2_api_calls.log");
  std::string text((std::istreambuf_iterator<char>(summary)), {});
  std::filesystem::remove_all(folder);
  EXPECT_NE(text.find("    glFlush                          :              1\n"), std::string::npos) << text;
  EXPECT_NE(text.find("(across 1/363 functions)"), std::string::npos);
}

}  // namespace
