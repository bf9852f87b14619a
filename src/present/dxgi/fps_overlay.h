// The frame-rate overlay: size, rate and load as text over the shown picture.
#pragma once

#include <cstdint>

#include "present/dxgi/load_sampler.h"
#include "present/frame_meter.h"

struct ID2D1Factory;
struct ID2D1RenderTarget;
struct ID2D1SolidColorBrush;
struct IDWriteFactory;
struct IDWriteTextFormat;

namespace tlr2 {

struct PresentDevice;

/// Made when the overlay is first on; each object again when it is missing.
struct FpsOverlay {
  ID2D1Factory* factory = nullptr;
  ID2D1RenderTarget* target = nullptr;
  ID2D1SolidColorBrush* textBrush = nullptr;
  ID2D1SolidColorBrush* shadowBrush = nullptr;
  IDWriteFactory* textFactory = nullptr;
  IDWriteTextFormat* textFormat = nullptr;
  FrameMeter meter;
  LoadSampler* sampler = nullptr;
};

/// Once a frame while the overlay is on, between the full-screen pass and the present.
void DrawFpsOverlay(PresentDevice& present);
/// What it says now: the size of what is rendered, which may be larger than the window. The number of characters.
std::uint32_t OverlayText(const PresentDevice& present, wchar_t (&text)[kOverlayTextLength]);
void ReleaseFpsOverlay(FpsOverlay& overlay);

}  // namespace tlr2
