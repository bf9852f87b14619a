// Building the Direct3D 11 device up, step by step, and taking it down.
#include <cfloat>
#include <new>

#include "present/dxgi/dxgi_present.h"
#include "present/postprocess.h"
#include "present/shaders/post_process_shaders.h"

namespace tlr2 {

const char* failingStep = nullptr;
HRESULT failingResult = E_FAIL;

namespace {

bool CreateDevice(PresentDevice& present) {
  const auto create = [&present](D3D_DRIVER_TYPE type) {
    static constexpr D3D_FEATURE_LEVEL kLevels[] = {D3D_FEATURE_LEVEL_11_0, D3D_FEATURE_LEVEL_10_1,
                                                    D3D_FEATURE_LEVEL_10_0};
    return D3D11CreateDevice(nullptr, type, nullptr, D3D11_CREATE_DEVICE_BGRA_SUPPORT, kLevels, 3, D3D11_SDK_VERSION,
                             &present.device, nullptr, &present.context);
  };
  return Step("D3D11CreateDevice(HARDWARE)", [&] { return create(D3D_DRIVER_TYPE_HARDWARE); }) ||
         Step("D3D11CreateDevice(WARP)", [&] { return create(D3D_DRIVER_TYPE_WARP); });
}

/// A frame that is torn is shown at once; one that waits for the display holds up the application.
bool TearingSupported(IDXGIFactory2* factory) {
  IDXGIFactory5* factory5 = nullptr;
  if (FAILED(factory->QueryInterface(__uuidof(IDXGIFactory5), reinterpret_cast<void**>(&factory5)))) return false;
  BOOL allowed = FALSE;
  const HRESULT hr = factory5->CheckFeatureSupport(DXGI_FEATURE_PRESENT_ALLOW_TEARING, &allowed, sizeof allowed);
  factory5->Release();
  return SUCCEEDED(hr) && allowed != FALSE;
}

bool CreateSwapChainOn(PresentDevice& present, IDXGIFactory2* factory, HWND window) {
  const bool tearing = TearingSupported(factory);
  present.presentFlags = tearing ? DXGI_PRESENT_ALLOW_TEARING : 0;
  DXGI_SWAP_CHAIN_DESC1 description = {};
  description.Width = static_cast<UINT>(present.windowWidth);
  description.Height = static_cast<UINT>(present.windowHeight);
  description.Format = kColorFormat;
  description.SampleDesc.Count = 1;
  description.BufferUsage = DXGI_USAGE_RENDER_TARGET_OUTPUT;
  description.BufferCount = 2;
  description.Scaling = DXGI_SCALING_STRETCH;
  description.SwapEffect = DXGI_SWAP_EFFECT_FLIP_DISCARD;
  description.AlphaMode = DXGI_ALPHA_MODE_UNSPECIFIED;
  description.Flags = tearing ? DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING : 0;
  return Step("CreateSwapChainForHwnd", [&] {
    return factory->CreateSwapChainForHwnd(present.device, window, &description, nullptr, nullptr, &present.swapChain);
  });
}

bool CreateSwapChain(PresentDevice& present, HWND window) {
  IDXGIDevice* dxgiDevice = nullptr;
  IDXGIAdapter* adapter = nullptr;
  IDXGIFactory2* factory = nullptr;
  const bool done =
      Step("QueryInterface(IDXGIDevice)",
           [&] {
             return present.device->QueryInterface(__uuidof(IDXGIDevice), reinterpret_cast<void**>(&dxgiDevice));
           }) &&
      Step("GetAdapter", [&] { return dxgiDevice->GetAdapter(&adapter); }) &&
      Step("GetParent(IDXGIFactory2)",
           [&] { return adapter->GetParent(__uuidof(IDXGIFactory2), reinterpret_cast<void**>(&factory)); }) &&
      CreateSwapChainOn(present, factory, window);
  ReleaseObject(factory);
  ReleaseObject(adapter);
  ReleaseObject(dxgiDevice);
  return done;
}

bool CreateBackBuffer(PresentDevice& present) {
  return Step("GetBuffer(0)",
              [&] {
                return present.swapChain->GetBuffer(0, __uuidof(ID3D11Texture2D),
                                                    reinterpret_cast<void**>(&present.backBuffer));
              }) &&
         Step("QueryInterface(backBuf IDXGISurface)",
              [&] {
                return present.backBuffer->QueryInterface(__uuidof(IDXGISurface),
                                                          reinterpret_cast<void**>(&present.backBufferSurface));
              }) &&
         Step("CreateRenderTargetView(backBuf)", [&] {
           return present.device->CreateRenderTargetView(present.backBuffer, nullptr, &present.renderTarget);
         });
}

bool CreateTextures(PresentDevice& present) {
  D3D11_TEXTURE2D_DESC description = {};
  description.Width = static_cast<UINT>(present.renderWidth);
  description.Height = static_cast<UINT>(present.renderHeight);
  description.MipLevels = 1;
  description.ArraySize = 1;
  description.Format = kColorFormat;
  description.SampleDesc.Count = 1;
  description.Usage = D3D11_USAGE_STAGING;
  description.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
  for (ID3D11Texture2D*& texture : present.staging)
    if (!Step("CreateTexture2D(staging)",
              [&] { return present.device->CreateTexture2D(&description, nullptr, &texture); }))
      return false;

  description.Usage = D3D11_USAGE_DEFAULT;
  description.CPUAccessFlags = 0;
  description.BindFlags = D3D11_BIND_SHADER_RESOURCE;
  D3D11_SHADER_RESOURCE_VIEW_DESC view = {};
  view.Format = kColorFormat;
  view.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
  view.Texture2D.MipLevels = 1;
  return Step("CreateTexture2D(redirection)",
              [&] { return present.device->CreateTexture2D(&description, nullptr, &present.redirection); }) &&
         Step("CreateShaderResourceView", [&] {
           return present.device->CreateShaderResourceView(present.redirection, &view, &present.redirectionView);
         });
}

bool CreatePostProcess(PresentDevice& present) {
  D3D11_SAMPLER_DESC sampler = {};
  sampler.Filter = D3D11_FILTER_MIN_MAG_MIP_LINEAR;
  sampler.AddressU = sampler.AddressV = sampler.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
  sampler.ComparisonFunc = D3D11_COMPARISON_NEVER;
  sampler.MaxLOD = FLT_MAX;
  const PostProcessConstants values = MakePostProcessConstants(Settings());
  D3D11_BUFFER_DESC buffer = {};
  buffer.ByteWidth = sizeof values;
  buffer.Usage = D3D11_USAGE_DEFAULT;
  buffer.BindFlags = D3D11_BIND_CONSTANT_BUFFER;
  D3D11_SUBRESOURCE_DATA initial = {};
  initial.pSysMem = &values;
  D3D11_RASTERIZER_DESC rasterizer = {};
  rasterizer.FillMode = D3D11_FILL_SOLID;
  rasterizer.CullMode = D3D11_CULL_NONE;
  rasterizer.DepthClipEnable = FALSE;
  rasterizer.ScissorEnable = FALSE;
  ID3D11Device* device = present.device;
  return Step("CreateVertexShader",
              [&] {
                return device->CreateVertexShader(kPostProcessVertexShader, sizeof kPostProcessVertexShader, nullptr,
                                                  &present.vertexShader);
              }) &&
         Step("CreatePixelShader",
              [&] {
                return device->CreatePixelShader(kPostProcessPixelShader, sizeof kPostProcessPixelShader, nullptr,
                                                 &present.pixelShader);
              }) &&
         Step("CreateSamplerState", [&] { return device->CreateSamplerState(&sampler, &present.sampler); }) &&
         Step("CreateBuffer(post-process constants)",
              [&] { return device->CreateBuffer(&buffer, &initial, &present.constants); }) &&
         Step("CreateRasterizerState", [&] { return device->CreateRasterizerState(&rasterizer, &present.rasterizer); });
}

}  // namespace

PresentDevice* DeviceInit(void* window, const DeviceSize& size) {
  if (window == nullptr || size.windowWidth <= 0 || size.windowHeight <= 0 || size.renderWidth <= 0 ||
      size.renderHeight <= 0)
    return nullptr;
  auto* present = new (std::nothrow) PresentDevice;
  if (present == nullptr) return nullptr;
  present->windowWidth = size.windowWidth;
  present->windowHeight = size.windowHeight;
  present->renderWidth = size.renderWidth;
  present->renderHeight = size.renderHeight;
  if (!CreateDevice(*present) || !CreateSwapChain(*present, static_cast<HWND>(window)) || !CreateBackBuffer(*present) ||
      !CreateTextures(*present) || !CreatePostProcess(*present)) {
    DeviceShutdown(present);
    return nullptr;
  }
  // A map that fails here fails again for the caller, who asks for the buffer next and acts on it.
  std::uint32_t* pixels = nullptr;
  std::uint32_t rowPitch = 0;
  DeviceBeginFrame(*present, pixels, rowPitch);
  return present;
}

void DeviceShutdown(PresentDevice* present) {
  if (present == nullptr) return;
  if (present->mapped) present->context->Unmap(present->staging[present->stagingIndex], 0);
  if (present->context != nullptr) {
    // A window takes a new flip chain only once the old one is gone, and bound objects outlive their release.
    present->context->ClearState();
    present->context->Flush();
  }
  ReleaseObject(present->rasterizer);
  ReleaseFpsOverlay(present->overlay);
  ReleaseObject(present->constants);
  ReleaseObject(present->sampler);
  ReleaseObject(present->pixelShader);
  ReleaseObject(present->vertexShader);
  ReleaseObject(present->redirectionView);
  ReleaseObject(present->redirection);
  for (ID3D11Texture2D*& texture : present->staging) ReleaseObject(texture);
  ReleaseObject(present->renderTarget);
  ReleaseObject(present->backBufferSurface);
  ReleaseObject(present->backBuffer);
  ReleaseObject(present->swapChain);
  ReleaseObject(present->context);
  ReleaseObject(present->device);
  delete present;
}

}  // namespace tlr2
