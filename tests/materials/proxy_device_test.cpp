#include <gtest/gtest.h>

#include <cstring>

#include "tests/device/test_device.h"
#include "tests/support/proxy_device.h"

// The counting proxy itself: it must forward faithfully, record what it claims to, and keep
// COM's reference rules, or every contract test built on it proves nothing.
namespace {

using tstest::DeviceCall;
using tstest::DeviceCallKind;
using tstest::ProxyDevice;

struct ScreenVertex {
  float x, y, z, rhw;
  DWORD color;
};

// The real device's reference count, left as it was.
ULONG referencesOf(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

class Proxy : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
    proxy = ProxyDevice::create(test.get());
  }
  void TearDown() override {
    if (proxy) {
      EXPECT_EQ(proxy->Release(), 0u);
    }
  }

  tstest::TestDevice test;
  ProxyDevice* proxy = nullptr;
};

TEST_F(Proxy, IsACountedComObjectThatReleasesTheRealDevice) {
  ProxyDevice* second = nullptr;
  const ULONG before = referencesOf(test.get());
  second = ProxyDevice::create(test.get());
  EXPECT_EQ(referencesOf(test.get()), before + 1);
  EXPECT_EQ(second->references(), 1u);
  EXPECT_EQ(second->AddRef(), 2u);

  void* asDevice = nullptr;
  ASSERT_EQ(second->QueryInterface(__uuidof(IDirect3DDevice9), &asDevice), S_OK);
  EXPECT_EQ(asDevice, static_cast<IDirect3DDevice9*>(second));
  EXPECT_EQ(second->references(), 3u);
  void* other = &other;
  EXPECT_EQ(second->QueryInterface(__uuidof(IDirect3DTexture9), &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);

  EXPECT_EQ(second->Release(), 2u);
  EXPECT_EQ(second->Release(), 1u);
  EXPECT_EQ(referencesOf(test.get()), before + 1);
  EXPECT_EQ(second->Release(), 0u);
  EXPECT_EQ(referencesOf(test.get()), before);
}

TEST_F(Proxy, ForwardsAndRecordsAClear) {
  ASSERT_EQ(proxy->Clear(0, nullptr, D3DCLEAR_TARGET, D3DCOLOR_XRGB(10, 200, 30), 1.0f, 0), D3D_OK);
  ASSERT_EQ(proxy->calls().size(), 1u);
  const DeviceCall& call = proxy->calls()[0];
  EXPECT_EQ(call.kind, DeviceCallKind::Clear);
  EXPECT_EQ(call.args[0], 0);
  EXPECT_EQ(call.args[1], D3DCLEAR_TARGET);
  EXPECT_EQ(call.args[2], D3DCOLOR_XRGB(10, 200, 30));
  EXPECT_EQ(call.values[0], 1.0f);
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_FALSE(frame.empty());
  EXPECT_TRUE(tstest::pixelNear(test.pixel(frame, 320, 240), 10, 200, 30));
}

TEST_F(Proxy, CountsEveryCallAndRecordsOnlyTheListedOnes) {
  proxy->BeginScene();
  proxy->EndScene();
  DWORD value = 0;
  proxy->GetRenderState(D3DRS_LIGHTING, &value);
  EXPECT_EQ(proxy->totalCalls(), 3u);
  EXPECT_TRUE(proxy->calls().empty());

  proxy->SetRenderState(D3DRS_LIGHTING, FALSE);
  proxy->SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_ADD);
  proxy->SetRenderState(D3DRS_ZENABLE, D3DZB_FALSE);
  EXPECT_EQ(proxy->totalCalls(), 6u);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetRenderState), 2u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::SetTextureStageState),
            std::vector<DeviceCall>{tstest::stageStateCall(1, D3DTSS_COLOROP, D3DTOP_ADD)});
  proxy->GetRenderState(D3DRS_LIGHTING, &value);
  EXPECT_EQ(value, static_cast<DWORD>(FALSE)) << "the state must reach the real device";

  proxy->clearLog();
  EXPECT_EQ(proxy->totalCalls(), 0u);
  EXPECT_TRUE(proxy->calls().empty());
}

TEST_F(Proxy, RecordsTransformsAndViewports) {
  D3DMATRIX matrix = {};
  for (int i = 0; i < 16; ++i) matrix.m[i / 4][i % 4] = static_cast<float>(i);
  proxy->SetTransform(D3DTS_WORLD, &matrix);
  D3DVIEWPORT9 viewport = {10, 20, 300, 200, 0.25f, 0.75f};
  proxy->SetViewport(&viewport);
  ASSERT_EQ(proxy->calls().size(), 2u);
  EXPECT_EQ(proxy->calls()[0], tstest::transformCall(D3DTS_WORLD, matrix));
  EXPECT_EQ(proxy->calls()[0].values[15], 15.0f);
  const DeviceCall& recorded = proxy->calls()[1];
  EXPECT_EQ(recorded.kind, DeviceCallKind::SetViewport);
  EXPECT_EQ(recorded.args[0], 10);
  EXPECT_EQ(recorded.args[3], 200);
  EXPECT_EQ(recorded.values[1], 0.75f);
  D3DVIEWPORT9 onDevice = {};
  test.get()->GetViewport(&onDevice);
  EXPECT_EQ(onDevice.Width, 300u);
}

TEST_F(Proxy, WrapsBuffersAndRecordsTheirLocks) {
  IDirect3DVertexBuffer9* vertices = nullptr;
  ASSERT_EQ(proxy->CreateVertexBuffer(256, D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC, D3DFVF_XYZRHW | D3DFVF_DIFFUSE,
                                      D3DPOOL_DEFAULT, &vertices, nullptr),
            D3D_OK);
  IDirect3DIndexBuffer9* indices = nullptr;
  ASSERT_EQ(proxy->CreateIndexBuffer(64, D3DUSAGE_WRITEONLY, D3DFMT_INDEX16, D3DPOOL_DEFAULT, &indices, nullptr),
            D3D_OK);
  EXPECT_EQ(proxy->references(), 3u) << "each buffer holds its device";

  void* data = nullptr;
  ASSERT_EQ(vertices->Lock(64, 40, &data, D3DLOCK_NOOVERWRITE), D3D_OK);
  EXPECT_NE(data, nullptr);
  vertices->Unlock();
  ASSERT_EQ(indices->Lock(0, 0, &data, D3DLOCK_DISCARD), D3D_OK);
  indices->Unlock();

  const std::vector<DeviceCall>& calls = proxy->calls();
  ASSERT_EQ(calls.size(), 6u);
  EXPECT_EQ(calls[0].kind, DeviceCallKind::CreateVertexBuffer);
  EXPECT_EQ(calls[0].args[0], 256);
  EXPECT_EQ(calls[0].args[1], D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC);
  EXPECT_EQ(calls[0].args[2], D3DFVF_XYZRHW | D3DFVF_DIFFUSE);
  EXPECT_EQ(calls[0].args[3], D3DPOOL_DEFAULT);
  EXPECT_EQ(calls[0].object, vertices);
  EXPECT_EQ(calls[1].kind, DeviceCallKind::CreateIndexBuffer);
  EXPECT_EQ(calls[1].args[2], D3DFMT_INDEX16);
  EXPECT_EQ(calls[2].kind, DeviceCallKind::LockVertexBuffer);
  EXPECT_EQ(calls[2].args[0], 64);
  EXPECT_EQ(calls[2].args[1], 40);
  EXPECT_EQ(calls[2].args[2], D3DLOCK_NOOVERWRITE);
  EXPECT_EQ(calls[2].object, vertices);
  EXPECT_EQ(calls[3].kind, DeviceCallKind::UnlockVertexBuffer);
  EXPECT_EQ(calls[4].kind, DeviceCallKind::LockIndexBuffer);
  EXPECT_EQ(calls[4].args[2], D3DLOCK_DISCARD);
  EXPECT_EQ(calls[4].object, indices);
  EXPECT_EQ(calls[5].kind, DeviceCallKind::UnlockIndexBuffer);

  IDirect3DDevice9* owner = nullptr;
  ASSERT_EQ(vertices->GetDevice(&owner), D3D_OK);
  EXPECT_EQ(owner, static_cast<IDirect3DDevice9*>(proxy));
  owner->Release();
  D3DVERTEXBUFFER_DESC desc = {};
  vertices->GetDesc(&desc);
  EXPECT_EQ(desc.Size, 256u);

  EXPECT_EQ(vertices->Release(), 0u);
  EXPECT_EQ(indices->Release(), 0u);
  EXPECT_EQ(proxy->references(), 1u);
}

TEST_F(Proxy, DrawsFromWrappedBuffers) {
  IDirect3DVertexBuffer9* vertices = nullptr;
  IDirect3DIndexBuffer9* indices = nullptr;
  ASSERT_EQ(
      proxy->CreateVertexBuffer(3 * sizeof(ScreenVertex), D3DUSAGE_WRITEONLY, 0, D3DPOOL_DEFAULT, &vertices, nullptr),
      D3D_OK);
  ASSERT_EQ(proxy->CreateIndexBuffer(3 * sizeof(uint16_t), D3DUSAGE_WRITEONLY, D3DFMT_INDEX16, D3DPOOL_DEFAULT,
                                     &indices, nullptr),
            D3D_OK);
  const ScreenVertex triangle[3] = {{0, 0, 0.5f, 1, D3DCOLOR_XRGB(0, 255, 0)},
                                    {320, 0, 0.5f, 1, D3DCOLOR_XRGB(0, 255, 0)},
                                    {0, 480, 0.5f, 1, D3DCOLOR_XRGB(0, 255, 0)}};
  const uint16_t order[3] = {0, 1, 2};
  void* data = nullptr;
  ASSERT_EQ(vertices->Lock(0, 0, &data, 0), D3D_OK);
  std::memcpy(data, triangle, sizeof triangle);
  vertices->Unlock();
  ASSERT_EQ(indices->Lock(0, 0, &data, 0), D3D_OK);
  std::memcpy(data, order, sizeof order);
  indices->Unlock();
  proxy->clearLog();

  proxy->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, D3DCOLOR_XRGB(0, 0, 0), 1.0f, 0);
  proxy->BeginScene();
  proxy->SetRenderState(D3DRS_LIGHTING, FALSE);
  proxy->SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  proxy->SetFVF(D3DFVF_XYZRHW | D3DFVF_DIFFUSE);
  EXPECT_EQ(proxy->SetStreamSource(0, vertices, 0, sizeof(ScreenVertex)), D3D_OK);
  EXPECT_EQ(proxy->SetIndices(indices), D3D_OK);
  EXPECT_EQ(proxy->DrawIndexedPrimitive(D3DPT_TRIANGLELIST, 0, 0, 3, 0, 1), D3D_OK);
  proxy->EndScene();
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_FALSE(frame.empty());
  const bool drawn = tstest::pixelNear(test.pixel(frame, 40, 40), 0, 255, 0);
  if (!drawn) test.saveFailure(frame, "ProxyDrawsFromWrappedBuffers");
  EXPECT_TRUE(drawn);

  const std::vector<DeviceCall> streams = proxy->callsOf(DeviceCallKind::SetStreamSource);
  ASSERT_EQ(streams.size(), 1u);
  EXPECT_EQ(streams[0].object, vertices);
  EXPECT_EQ(streams[0].args[2], static_cast<int64_t>(sizeof(ScreenVertex)));
  const std::vector<DeviceCall> draws = proxy->callsOf(DeviceCallKind::DrawIndexedPrimitive);
  ASSERT_EQ(draws.size(), 1u);
  EXPECT_EQ(draws[0].args[0], D3DPT_TRIANGLELIST);
  EXPECT_EQ(draws[0].args[3], 3);
  EXPECT_EQ(draws[0].args[5], 1);

  // Callers get back the buffers they set, not the real ones behind them.
  IDirect3DVertexBuffer9* bound = nullptr;
  UINT offset = 1, stride = 0;
  ASSERT_EQ(proxy->GetStreamSource(0, &bound, &offset, &stride), D3D_OK);
  EXPECT_EQ(bound, vertices);
  EXPECT_EQ(offset, 0u);
  EXPECT_EQ(stride, sizeof(ScreenVertex));
  bound->Release();
  IDirect3DIndexBuffer9* boundIndices = nullptr;
  ASSERT_EQ(proxy->GetIndices(&boundIndices), D3D_OK);
  EXPECT_EQ(boundIndices, indices);
  boundIndices->Release();

  proxy->SetStreamSource(0, nullptr, 0, 0);
  proxy->SetIndices(nullptr);
  vertices->Release();
  indices->Release();
  EXPECT_EQ(proxy->references(), 1u);
}

TEST(ProxyDeviceCall, DescribesCallsReadably) {
  EXPECT_EQ(tstest::describe(tstest::renderStateCall(D3DRS_ZENABLE, 1)), "SetRenderState(7, 1)");
  EXPECT_EQ(tstest::describe(tstest::stageStateCall(2, D3DTSS_COLOROP, 4)), "SetTextureStageState(2, 1, 4)");
}

}  // namespace
