// The Direct3D 11 device under a surface: buffers, flips, failures and what each of them traces.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "present/dxgi/dxgi_present.h"
#include "present/overlay_hook.h"
#include "present/surface.h"
#include "test_window.h"
#include "trace_lines.h"

namespace tlr2 {
namespace {

using test::TestWindow;
using test::TraceLines;

class DxgiSurface : public testing::Test {
 protected:
  DxgiSurface() { TraceLines().clear(); }
  ~DxgiSurface() override {
    failingStep = nullptr;
    test::onTraceLine = nullptr;
    SetOverlayHook(nullptr, nullptr);
    SurfaceDestroy(surface);
  }
  bool Create() { return SurfaceCreate(surface, kWidth, kHeight, window.handle()); }
  void Fill(std::uint32_t color) {
    for (std::int32_t y = 0; y < surface.height; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uint8_t*>(surface.colorBuffer) +
                                                   static_cast<std::size_t>(y) * surface.rowPitch);
      for (std::int32_t x = 0; x < surface.width; ++x) row[x] = color;
    }
  }

  // No multiple of anything that a row pitch may be rounded to.
  static constexpr int kWidth = 203, kHeight = 57;
  TestWindow window{kWidth, kHeight};
  Surface surface;
};

TEST_F(DxgiSurface, CreateGivesBothBuffersAndTracesNothing) {
  ASSERT_TRUE(Create());
  EXPECT_NE(surface.colorBuffer, nullptr);
  EXPECT_NE(surface.depthBuffer, nullptr);
  EXPECT_EQ(surface.width, kWidth);
  EXPECT_EQ(surface.height, kHeight);
  EXPECT_GE(surface.rowPitch, kWidth * 4u);
  EXPECT_TRUE(TraceLines().empty());
}

TEST_F(DxgiSurface, NewColorBuffersAreZero) {
  ASSERT_TRUE(Create());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(surface.colorBuffer[0], 0u);
    EXPECT_EQ(surface.colorBuffer[kWidth - 1], 0u);
    SurfacePresent(surface, window.deviceContext());
    ASSERT_NE(surface.colorBuffer, nullptr);
  }
}

TEST_F(DxgiSurface, CreateFailsWithoutWindowOrSizeAndTracesNothing) {
  EXPECT_FALSE(SurfaceCreate(surface, kWidth, kHeight, nullptr));
  EXPECT_FALSE(SurfaceCreate(surface, 0, kHeight, window.handle()));
  EXPECT_FALSE(SurfaceCreate(surface, kWidth, -1, window.handle()));
  EXPECT_EQ(DeviceInit(nullptr, DeviceSize{8, 8, 8, 8}), nullptr);
  EXPECT_EQ(DeviceInit(window.handle(), DeviceSize{0, 8, 8, 8}), nullptr);
  EXPECT_EQ(DeviceInit(window.handle(), DeviceSize{8, 0, 8, 8}), nullptr);
  EXPECT_EQ(DeviceInit(window.handle(), DeviceSize{8, 8, 0, 8}), nullptr);
  EXPECT_EQ(DeviceInit(window.handle(), DeviceSize{8, 8, 8, 0}), nullptr);
  EXPECT_TRUE(TraceLines().empty());
}

TEST_F(DxgiSurface, EveryFailingStepTracesItsLabelAndLeavesNothing) {
  static constexpr const char* kLabels[] = {
      "QueryInterface(IDXGIDevice)",
      "GetAdapter",
      "GetParent(IDXGIFactory2)",
      "CreateSwapChainForHwnd",
      "GetBuffer(0)",
      "QueryInterface(backBuf IDXGISurface)",
      "CreateRenderTargetView(backBuf)",
      "CreateTexture2D(staging)",
      "CreateTexture2D(redirection)",
      "CreateShaderResourceView",
      "CreateVertexShader",
      "CreatePixelShader",
      "CreateSamplerState",
      "CreateBuffer(post-process constants)",
      "CreateRasterizerState",
  };
  for (const char* label : kLabels) {
    TraceLines().clear();
    failingStep = label;
    EXPECT_FALSE(Create()) << label;
    ASSERT_EQ(TraceLines().size(), 2u) << label;
    EXPECT_EQ(TraceLines()[0], std::string("TLR2::DxgiPresent::Init (step=") + label + ", hr=0x80004005)");
    EXPECT_EQ(TraceLines()[1], "TLR2::Surface::Create (DxgiPresent::Init failed; w=203 h=57 render=203x57)");
    EXPECT_EQ(surface.device, nullptr);
    EXPECT_FALSE(SurfaceReady(surface));
  }
  failingStep = nullptr;
  EXPECT_TRUE(Create());
}

TEST_F(DxgiSurface, WithoutHardwareTheSoftwareDeviceIsUsedAfterOneLine) {
  failingStep = "D3D11CreateDevice(HARDWARE)";
  EXPECT_TRUE(Create());
  ASSERT_EQ(TraceLines().size(), 1u);
  EXPECT_EQ(TraceLines()[0], "TLR2::DxgiPresent::Init (step=D3D11CreateDevice(HARDWARE), hr=0x80004005)");
}

TEST_F(DxgiSurface, WithNeitherDeviceEachTracesItsLabelAndNothingIsLeft) {
  failingStep = "D3D11CreateDevice(HARDWARE)";
  test::onTraceLine = [] { failingStep = "D3D11CreateDevice(WARP)"; };  // tried once the first has failed
  EXPECT_FALSE(Create());
  test::onTraceLine = nullptr;
  ASSERT_EQ(TraceLines().size(), 3u);
  EXPECT_EQ(TraceLines()[0], "TLR2::DxgiPresent::Init (step=D3D11CreateDevice(HARDWARE), hr=0x80004005)");
  EXPECT_EQ(TraceLines()[1], "TLR2::DxgiPresent::Init (step=D3D11CreateDevice(WARP), hr=0x80004005)");
  EXPECT_EQ(TraceLines()[2], "TLR2::Surface::Create (DxgiPresent::Init failed; w=203 h=57 render=203x57)");
  EXPECT_EQ(surface.device, nullptr);
  EXPECT_FALSE(SurfaceReady(surface));
  failingStep = nullptr;
  EXPECT_TRUE(Create());
}

TEST_F(DxgiSurface, AMapThatFailsAtTheStartFailsTheCreate) {
  failingStep = "Map";
  EXPECT_FALSE(Create());
  ASSERT_EQ(TraceLines().size(), 3u);
  EXPECT_EQ(TraceLines()[0], "TLR2::DxgiPresent::BeginFrame (Map hr=0x80004005)");
  EXPECT_EQ(TraceLines()[1], "TLR2::DxgiPresent::BeginFrame (Map hr=0x80004005)");
  EXPECT_EQ(TraceLines()[2], "TLR2::Surface::Create (BeginFrame returned false after Init)");
  EXPECT_EQ(surface.device, nullptr);
}

TEST_F(DxgiSurface, AFlipTurnsToTheOtherBufferAndBack) {
  ASSERT_TRUE(Create());
  std::uint32_t* first = surface.colorBuffer;
  Fill(0xFF102030u);
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(surface.device->stagingIndex, 1);
  EXPECT_NE(surface.colorBuffer, first);
  EXPECT_EQ(surface.colorBuffer, surface.device->mappedPixels);
  EXPECT_EQ(surface.rowPitch, surface.device->mappedRowPitch);
  Fill(0xFF405060u);
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(surface.device->stagingIndex, 0);
  EXPECT_EQ(surface.colorBuffer[0], 0xFF102030u) << "the frame before the last one, until it is cleared";
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(surface.colorBuffer[kWidth - 1], 0xFF405060u);
}

TEST_F(DxgiSurface, BeginFrameGivesTheMappedBufferAgain) {
  ASSERT_TRUE(Create());
  std::uint32_t* pixels = nullptr;
  std::uint32_t rowPitch = 0;
  EXPECT_TRUE(DeviceBeginFrame(*surface.device, pixels, rowPitch));
  EXPECT_EQ(pixels, surface.colorBuffer);
  EXPECT_EQ(rowPitch, surface.rowPitch);
}

TEST_F(DxgiSurface, AFailedPresentStopsThePictureAndKeepsTheIndex) {
  ASSERT_TRUE(Create());
  failingStep = "Present";
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(surface.device->stagingIndex, 0);
  EXPECT_EQ(surface.colorBuffer, nullptr);
  EXPECT_EQ(surface.rowPitch, 0u);
  EXPECT_EQ(surface.width, kWidth);
  EXPECT_FALSE(SurfaceReady(surface));
  ASSERT_EQ(TraceLines().size(), 1u);
  EXPECT_EQ(TraceLines()[0], "TLR2::DxgiPresent::PresentSwapChain (Present hr=0x80004005)");
  failingStep = nullptr;
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(TraceLines().size(), 1u) << "without a colour buffer nothing is shown";
  EXPECT_EQ(surface.colorBuffer, nullptr);
  EXPECT_TRUE(SurfaceEnsureSize(surface, kWidth, kHeight, window.deviceContext()));
  EXPECT_TRUE(SurfaceReady(surface));
}

TEST_F(DxgiSurface, AFailedMapAfterTheFlipTracesBothNames) {
  ASSERT_TRUE(Create());
  failingStep = "Map";
  SurfacePresent(surface, window.deviceContext());
  ASSERT_EQ(TraceLines().size(), 2u);
  EXPECT_EQ(TraceLines()[0], "TLR2::DxgiPresent::BeginFrame (Map hr=0x80004005)");
  EXPECT_EQ(TraceLines()[1], "TLR2::DxgiPresent::PresentSwapChain (post-flip Map failed on staging[1])");
  EXPECT_EQ(surface.colorBuffer, nullptr);
  EXPECT_EQ(surface.device->stagingIndex, 1);
}

TEST_F(DxgiSurface, GrowingMakesNewBuffersAndNeverShrinks) {
  ASSERT_TRUE(Create());
  Fill(0xFFFFFFFFu);
  EXPECT_TRUE(SurfaceEnsureSize(surface, 100, 50, window.deviceContext()));
  EXPECT_EQ(surface.colorBuffer[0], 0xFFFFFFFFu);
  EXPECT_TRUE(SurfaceEnsureSize(surface, 300, 20, window.deviceContext()));
  EXPECT_EQ(surface.width, 300);
  EXPECT_EQ(surface.height, kHeight);
  EXPECT_EQ(surface.colorBuffer[0], 0u);
  EXPECT_TRUE(SurfaceEnsureSize(surface, 0, 0, window.deviceContext()));
  EXPECT_FALSE(SurfaceEnsureSize(surface, 400, 400, nullptr)) << "no window behind the device context";
  SurfacePresent(surface, window.deviceContext());
  EXPECT_TRUE(SurfaceReady(surface));
}

TEST_F(DxgiSurface, TwentyDevicesInTurnLeaveNoObjectBehind) {
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(Create()) << i;
    Fill(0xFF000000u + static_cast<std::uint32_t>(i));
    SurfacePresent(surface, window.deviceContext());
    ASSERT_NE(surface.colorBuffer, nullptr) << i;
    ID3D11Device* device = surface.device->device;
    device->AddRef();
    SurfaceDestroy(surface);
    EXPECT_EQ(device->Release(), 0u) << "round " << i << ": something still holds the device";
  }
  EXPECT_TRUE(TraceLines().empty());
}

TEST_F(DxgiSurface, TheFlipChainIsAsDescribed) {
  ASSERT_TRUE(Create());
  DXGI_SWAP_CHAIN_DESC1 description = {};
  ASSERT_EQ(surface.device->swapChain->GetDesc1(&description), S_OK);
  EXPECT_EQ(description.Width, static_cast<UINT>(kWidth));
  EXPECT_EQ(description.Height, static_cast<UINT>(kHeight));
  EXPECT_EQ(description.Format, DXGI_FORMAT_B8G8R8A8_UNORM);
  EXPECT_EQ(description.BufferUsage, 0x20u);
  EXPECT_EQ(description.BufferCount, 2u);
  EXPECT_EQ(description.SwapEffect, DXGI_SWAP_EFFECT_FLIP_DISCARD);
  EXPECT_EQ(description.Scaling, DXGI_SCALING_STRETCH);
  EXPECT_TRUE(surface.device->presentFlags == 0 || surface.device->presentFlags == 0x200u);
  D3D11_TEXTURE2D_DESC staging = {};
  surface.device->staging[1]->GetDesc(&staging);
  EXPECT_EQ(staging.Usage, D3D11_USAGE_STAGING);
  EXPECT_EQ(staging.CPUAccessFlags, 0x30000u);
  EXPECT_EQ(staging.BindFlags, 0u);
  EXPECT_EQ(staging.Format, DXGI_FORMAT_B8G8R8A8_UNORM);
}

struct HookCall {
  int calls = 0;
  void* surface = nullptr;
  std::int32_t width = 0, height = 0;
};

TEST_F(DxgiSurface, TheOverlayHookSeesTheBackBufferOfEachFrame) {
  ASSERT_TRUE(Create());
  HookCall seen;
  SetOverlayHook(
      [](void* backBuffer, std::int32_t width, std::int32_t height, void* user) {
        auto* call = static_cast<HookCall*>(user);
        ++call->calls;
        call->surface = backBuffer;
        call->width = width;
        call->height = height;
      },
      &seen);
  SurfacePresent(surface, window.deviceContext());
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(seen.calls, 2);
  EXPECT_EQ(seen.surface, surface.device->backBufferSurface);
  EXPECT_EQ(seen.width, kWidth);
  EXPECT_EQ(seen.height, kHeight);
  SetOverlayHook(nullptr, nullptr);
  SurfacePresent(surface, window.deviceContext());
  EXPECT_EQ(seen.calls, 2);
}

TEST_F(DxgiSurface, WindowsAreFoundByTheirDeviceContexts) {
  EXPECT_EQ(WindowOfDeviceContext(window.deviceContext()), window.handle());
  EXPECT_EQ(WindowOfDeviceContext(nullptr), nullptr);
  HDC memory = CreateCompatibleDC(nullptr);
  EXPECT_EQ(WindowOfDeviceContext(memory), nullptr);
  DeleteDC(memory);
  std::int32_t width = 0, height = 0;
  EXPECT_TRUE(WindowClientSize(window.handle(), width, height));
  EXPECT_EQ(width, kWidth);
  EXPECT_EQ(height, kHeight);
  EXPECT_FALSE(WindowClientSize(nullptr, width, height));
}

}  // namespace
}  // namespace tlr2
