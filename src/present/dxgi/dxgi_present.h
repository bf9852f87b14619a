// The Direct3D 11 present device: its objects, in the order in which a device is built up.
#pragma once

#include <d3d11.h>
#include <dxgi1_5.h>

#include <cstdint>
#include <cstring>

#include "capture/trace.h"
#include "present/device.h"
#include "present/dxgi/fps_overlay.h"

namespace tlr2 {

inline constexpr int kStagingCount = 2;
inline constexpr DXGI_FORMAT kColorFormat = DXGI_FORMAT_B8G8R8A8_UNORM;  // a pixel is the word 0xAARRGGBB

struct PresentDevice {
  ID3D11Device* device = nullptr;
  ID3D11DeviceContext* context = nullptr;
  IDXGISwapChain1* swapChain = nullptr;
  ID3D11Texture2D* backBuffer = nullptr;
  IDXGISurface* backBufferSurface = nullptr;
  ID3D11RenderTargetView* renderTarget = nullptr;
  // The kernels fill one while the copy of the other may still run.
  ID3D11Texture2D* staging[kStagingCount] = {};
  ID3D11Texture2D* redirection = nullptr;
  ID3D11ShaderResourceView* redirectionView = nullptr;
  ID3D11VertexShader* vertexShader = nullptr;
  ID3D11PixelShader* pixelShader = nullptr;
  ID3D11SamplerState* sampler = nullptr;
  ID3D11Buffer* constants = nullptr;
  ID3D11RasterizerState* rasterizer = nullptr;
  FpsOverlay overlay;

  std::int32_t stagingIndex = 0;
  bool mapped = false;
  std::uint32_t* mappedPixels = nullptr;
  std::uint32_t mappedRowPitch = 0;
  std::int32_t renderWidth = 0, renderHeight = 0;
  std::int32_t windowWidth = 0, windowHeight = 0;
  UINT presentFlags = 0;
};

/// Tests name a step here, by its label, "Map", "Present" or "EndDraw", to see what its failure does; null in the
/// product.
extern const char* failingStep;
extern HRESULT failingResult;

/// The result of a step that a test may have made to fail.
template <typename Call>
HRESULT TryStep(const char* label, Call&& call) {
  if (failingStep != nullptr && std::strcmp(failingStep, label) == 0) [[unlikely]]
    return failingResult;
  return call();
}

/// Runs a step of making an object; its failure is a trace line.
template <typename Call>
bool Step(const char* label, Call&& call) {
  const HRESULT hr = TryStep(label, call);
  if (SUCCEEDED(hr)) return true;
  TraceCall("TLR2::DxgiPresent::Init", "(step=%s, hr=0x%08X)", label, static_cast<unsigned>(hr));
  return false;
}

template <typename Object>
void ReleaseObject(Object*& object) noexcept {
  if (object == nullptr) return;
  object->Release();
  object = nullptr;
}

}  // namespace tlr2
