// The driver inside a test program, called through its own entries. Apart from the tests, since the window system's
// header declares the same names as imports.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tlr2::test {

/// As loading the library does, and its unloading.
void StartDriver();
void EndDriver();

void* OpenContext(void* deviceContext);
void CloseContext(void* context);

inline constexpr int kSceneWidth = 256, kSceneHeight = 192;
/// Records a frame in which every override has a place that shows it.
void DrawScene(std::uint32_t clearColor);
void ShowScene(void* deviceContext);
/// Renders what is recorded and reads it back, 0xAARRGGBB.
std::vector<std::uint32_t> ReadScene();

/// The tasks of the last frame.
std::size_t LastTaskCount();
/// Lets the second of the context's overlay be over at the next frame.
void EndOverlaySecond(void* context);
/// The rate that the context's overlay shows, 0 for none yet.
std::int32_t OverlayRate(void* context);

}  // namespace tlr2::test
