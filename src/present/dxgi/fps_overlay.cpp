// Drawing the frame-rate overlay with Direct2D and DirectWrite.
#include "present/dxgi/fps_overlay.h"

#include <d2d1.h>
#include <dwrite.h>

#include "platform/clock.h"
#include "present/dxgi/dxgi_present.h"

namespace tlr2 {

namespace {

constexpr float kDotsPerInch = 96.0f;
constexpr wchar_t kFontFamily[] = L"Bahnschrift";
constexpr wchar_t kLocale[] = L"en-us";
constexpr float kFontSize = 60.0f;
constexpr D2D1_RECT_F kTextPlace = {30.0f, 15.0f, 1000.0f, 260.0f};
constexpr D2D1_RECT_F kShadowPlace = {34.0f, 19.0f, 1000.0f, 260.0f};
constexpr D2D1_COLOR_F kTextColor = {1.0f, 1.0f, 1.0f, 1.0f};
constexpr D2D1_COLOR_F kShadowColor = {0.0f, 0.0f, 0.0f, 0.8f};

/// Runs a step only while its object is missing.
template <typename Object, typename Call>
bool Make(Object* const& object, const char* label, Call&& call) {
  return object != nullptr || (Step(label, call) && object != nullptr);
}

bool MakeFactories(FpsOverlay& overlay) {
  return Make(overlay.factory, "D2D1CreateFactory(FPS overlay)",
              [&] {
                return D2D1CreateFactory(D2D1_FACTORY_TYPE_SINGLE_THREADED, __uuidof(ID2D1Factory), nullptr,
                                         reinterpret_cast<void**>(&overlay.factory));
              }) &&
         Make(overlay.textFactory, "DWriteCreateFactory(FPS overlay)", [&] {
           return DWriteCreateFactory(DWRITE_FACTORY_TYPE_SHARED, __uuidof(IDWriteFactory),
                                      reinterpret_cast<IUnknown**>(&overlay.textFactory));
         });
}

bool MakeTarget(FpsOverlay& overlay, IDXGISurface* backBuffer) {
  D2D1_RENDER_TARGET_PROPERTIES properties = {};
  properties.pixelFormat = {kColorFormat, D2D1_ALPHA_MODE_IGNORE};
  properties.dpiX = properties.dpiY = kDotsPerInch;
  return Make(overlay.target, "CreateDxgiSurfaceRenderTarget(FPS overlay)",
              [&] { return overlay.factory->CreateDxgiSurfaceRenderTarget(backBuffer, &properties, &overlay.target); });
}

bool MakeBrushes(FpsOverlay& overlay) {
  return Make(overlay.textBrush, "CreateSolidColorBrush(FPS overlay)",
              [&] { return overlay.target->CreateSolidColorBrush(&kTextColor, nullptr, &overlay.textBrush); }) &&
         Make(overlay.shadowBrush, "CreateSolidColorBrush(FPS shadow)",
              [&] { return overlay.target->CreateSolidColorBrush(&kShadowColor, nullptr, &overlay.shadowBrush); });
}

bool MakeTextFormat(FpsOverlay& overlay) {
  const bool fresh = overlay.textFormat == nullptr;
  if (!Make(overlay.textFormat, "CreateTextFormat(FPS overlay)", [&] {
        return overlay.textFactory->CreateTextFormat(kFontFamily, nullptr, DWRITE_FONT_WEIGHT_BOLD,
                                                     DWRITE_FONT_STYLE_NORMAL, DWRITE_FONT_STRETCH_NORMAL, kFontSize,
                                                     kLocale, &overlay.textFormat);
      }))
    return false;
  if (fresh) {
    overlay.textFormat->SetTextAlignment(DWRITE_TEXT_ALIGNMENT_LEADING);
    overlay.textFormat->SetParagraphAlignment(DWRITE_PARAGRAPH_ALIGNMENT_NEAR);
  }
  return true;
}

bool MakeObjects(PresentDevice& present) {
  FpsOverlay& overlay = present.overlay;
  if (!MakeFactories(overlay) || present.backBufferSurface == nullptr ||
      !MakeTarget(overlay, present.backBufferSurface) || !MakeBrushes(overlay) || !MakeTextFormat(overlay))
    return false;
  if (StartFrameMeter(overlay.meter, TicksPerSecond(), TicksNow())) overlay.sampler = StartLoadSampler();
  return true;
}

void DrawOverlayText(FpsOverlay& overlay, const wchar_t* text, std::uint32_t length) {
  overlay.target->BeginDraw();
  overlay.target->DrawText(text, length, overlay.textFormat, &kShadowPlace, overlay.shadowBrush,
                           D2D1_DRAW_TEXT_OPTIONS_NONE, DWRITE_MEASURING_MODE_NATURAL);
  overlay.target->DrawText(text, length, overlay.textFormat, &kTextPlace, overlay.textBrush,
                           D2D1_DRAW_TEXT_OPTIONS_NONE, DWRITE_MEASURING_MODE_NATURAL);
  const HRESULT hr = TryStep("EndDraw", [&] { return overlay.target->EndDraw(); });
  if (hr != static_cast<HRESULT>(D2DERR_RECREATE_TARGET)) return;
  // Brushes belong to their target. All three are made anew at the next frame.
  ReleaseObject(overlay.textBrush);
  ReleaseObject(overlay.shadowBrush);
  ReleaseObject(overlay.target);
}

}  // namespace

void DrawFpsOverlay(PresentDevice& present) {
  if (!MakeObjects(present)) return;
  FpsOverlay& overlay = present.overlay;
  FrameMeter& meter = overlay.meter;
  if (CountShownFrame(meter, TicksNow())) meter.shownCpu = SampleLoad(overlay.sampler, meter.shownCpu);
  if (meter.shownFps <= 0) return;
  wchar_t text[kOverlayTextLength];
  const std::uint32_t length = OverlayText(present, text);
  DrawOverlayText(overlay, text, length);
}

std::uint32_t OverlayText(const PresentDevice& present, wchar_t (&text)[kOverlayTextLength]) {
  return FormatOverlayText(present.renderWidth, present.renderHeight, present.overlay.meter, text);
}

void ReleaseFpsOverlay(FpsOverlay& overlay) {
  ReleaseObject(overlay.textFormat);
  ReleaseObject(overlay.textFactory);
  ReleaseObject(overlay.textBrush);
  ReleaseObject(overlay.shadowBrush);
  ReleaseObject(overlay.target);
  ReleaseObject(overlay.factory);
  StopLoadSampler(overlay.sampler);
  overlay.sampler = nullptr;
  overlay.meter = {};
}

}  // namespace tlr2
