// A frame's way to the window: unmap, copy, one full-screen pass, present, and map of the other staging texture.
#include "capture/trace.h"
#include "present/dxgi/dxgi_present.h"
#include "present/overlay_hook.h"
#include "present/postprocess.h"

namespace tlr2 {

namespace {

OverlayHook overlayHook = nullptr;
void* overlayUser = nullptr;

/// Copies the finished picture to the texture that the shader reads, and draws it adjusted on the back buffer.
bool PostProcessPass(PresentDevice& present) {
  if (present.context == nullptr || present.swapChain == nullptr || present.renderTarget == nullptr) return false;
  ID3D11DeviceContext* context = present.context;
  if (present.mapped) {
    context->Unmap(present.staging[present.stagingIndex], 0);
    present.mapped = false;
    present.mappedPixels = nullptr;
    present.mappedRowPitch = 0;
  }
  context->CopyResource(present.redirection, present.staging[present.stagingIndex]);

  // Everything is set anew at each frame: a present of a flip chain unbinds the target, and hooks may draw too.
  D3D11_VIEWPORT viewport = {};
  viewport.Width = static_cast<float>(present.windowWidth);
  viewport.Height = static_cast<float>(present.windowHeight);
  viewport.MaxDepth = 1.0f;
  ID3D11Buffer* noBuffer = nullptr;
  const UINT zero = 0;
  context->IASetVertexBuffers(0, 1, &noBuffer, &zero, &zero);
  context->IASetIndexBuffer(nullptr, DXGI_FORMAT_UNKNOWN, 0);
  context->IASetInputLayout(nullptr);
  context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
  context->RSSetState(present.rasterizer);
  context->RSSetViewports(1, &viewport);
  context->OMSetRenderTargets(1, &present.renderTarget, nullptr);

  context->VSSetShader(present.vertexShader, nullptr, 0);
  context->PSSetShader(present.pixelShader, nullptr, 0);
  const PostProcessConstants values = MakePostProcessConstants(Settings());
  context->UpdateSubresource(present.constants, 0, nullptr, &values, 0, 0);
  context->PSSetShaderResources(0, 1, &present.redirectionView);
  context->PSSetSamplers(0, 1, &present.sampler);
  context->PSSetConstantBuffers(0, 1, &present.constants);
  context->Draw(3, 0);
  return true;
}

}  // namespace

void SetOverlayHook(OverlayHook hook, void* user) noexcept {
  overlayHook = hook;
  overlayUser = user;
}

bool DeviceBeginFrame(PresentDevice& present, std::uint32_t*& pixels, std::uint32_t& rowPitch) {
  pixels = nullptr;
  rowPitch = 0;
  ID3D11Texture2D* texture = present.staging[present.stagingIndex];
  if (present.context == nullptr || texture == nullptr) return false;
  if (!present.mapped) {
    D3D11_MAPPED_SUBRESOURCE memory = {};
    const HRESULT hr =
        TryStep("Map", [&] { return present.context->Map(texture, 0, D3D11_MAP_READ_WRITE, 0, &memory); });
    if (FAILED(hr) || memory.pData == nullptr) {
      TraceCall("TLR2::DxgiPresent::BeginFrame", "(Map hr=0x%08X)", static_cast<unsigned>(hr));
      return false;
    }
    present.mappedPixels = static_cast<std::uint32_t*>(memory.pData);
    present.mappedRowPitch = memory.RowPitch;
    present.mapped = true;
  }
  pixels = present.mappedPixels;
  rowPitch = present.mappedRowPitch;
  return true;
}

bool DevicePresent(PresentDevice& present) {
  if (!PostProcessPass(present)) return false;
  if (Settings().showFpsOverlay != 0) DrawFpsOverlay(present);
  if (overlayHook != nullptr && present.backBufferSurface != nullptr)
    overlayHook(present.backBufferSurface, present.windowWidth, present.windowHeight, overlayUser);

  const HRESULT hr = TryStep("Present", [&] { return present.swapChain->Present(0, present.presentFlags); });
  if (FAILED(hr)) {
    TraceCall("TLR2::DxgiPresent::PresentSwapChain", "(Present hr=0x%08X)", static_cast<unsigned>(hr));
    return false;
  }
  present.stagingIndex = (present.stagingIndex + 1) % kStagingCount;
  std::uint32_t* pixels = nullptr;
  std::uint32_t rowPitch = 0;
  if (DeviceBeginFrame(present, pixels, rowPitch)) return true;
  TraceCall("TLR2::DxgiPresent::PresentSwapChain", "(post-flip Map failed on staging[%d])", present.stagingIndex);
  return false;
}

}  // namespace tlr2
