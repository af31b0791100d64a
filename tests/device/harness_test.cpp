#include <gtest/gtest.h>

#include "tests/device/test_device.h"

namespace {

struct ScreenVertex {
  float x, y, z, rhw;
  DWORD color;
};

// The harness itself: a real device under Wine draws, and what it drew can be read back.
TEST(WineHarness, ClearAndPretransformedTriangleReadBack) {
  tstest::TestDevice test;
  ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
  IDirect3DDevice9* device = test.get();

  ASSERT_EQ(device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, D3DCOLOR_XRGB(20, 40, 200), 1.0f, 0), D3D_OK);
  ASSERT_EQ(device->BeginScene(), D3D_OK);
  device->SetRenderState(D3DRS_LIGHTING, FALSE);
  device->SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  device->SetFVF(D3DFVF_XYZRHW | D3DFVF_DIFFUSE);
  // A triangle over the left half: corners (0,0), (320,0), (0,480).
  const ScreenVertex triangle[3] = {{0, 0, 0.5f, 1, D3DCOLOR_XRGB(255, 0, 0)},
                                    {320, 0, 0.5f, 1, D3DCOLOR_XRGB(255, 0, 0)},
                                    {0, 480, 0.5f, 1, D3DCOLOR_XRGB(255, 0, 0)}};
  ASSERT_EQ(device->DrawPrimitiveUP(D3DPT_TRIANGLELIST, 1, triangle, sizeof(ScreenVertex)), D3D_OK);
  ASSERT_EQ(device->EndScene(), D3D_OK);

  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  const bool inside = tstest::pixelNear(test.pixel(frame, 40, 40), 255, 0, 0);
  const bool outside = tstest::pixelNear(test.pixel(frame, 600, 400), 20, 40, 200);
  // Just beyond the hypotenuse x/320 + y/480 = 1, on both sides of it.
  const bool edgeIn = tstest::pixelNear(test.pixel(frame, 150, 240), 255, 0, 0);
  const bool edgeOut = tstest::pixelNear(test.pixel(frame, 170, 240), 20, 40, 200);
  if (!(inside && outside && edgeIn && edgeOut)) test.saveFailure(frame, "WineHarness");
  EXPECT_TRUE(inside);
  EXPECT_TRUE(outside);
  EXPECT_TRUE(edgeIn);
  EXPECT_TRUE(edgeOut);
}

}  // namespace
