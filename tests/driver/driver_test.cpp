#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "driver/data_kind.h"
#include "driver/driver_kmt.h"
#include "driver/effect_factory.h"
#include "driver/host/effect_descriptor.h"
#include "player/host/host_controllers.h"
#include "tests/support/host_bridge.h"

namespace {

TEST(DriverKMT, IdentityStringsAreExactAndStable) {
  EXPECT_EQ(theDriver.version(), 3);
  EXPECT_STREQ(theDriver.description(), "Kalmia Team Simpliest Driver(Final Version)");
  EXPECT_EQ(theDriver.fileFilter(),
            "TS2 3D Scene files (*.ts2)|*.ts2|TS2 3D Texture (*.bmp, *.dds, *.dib, *.jpg, *.png, *.tga)|"
            "*.bmp,*.dds,*.dib,*.jpg,*.png,*.tga|Texture BMP (*.bmp)|*.bmp|Texture DDS (*.dds)|*.dds|"
            "Texture DIB (*.dib)|*.dib|Texture JPG (*.jpg)|*.jpg|Texture PNG (*.png)|*.png|"
            "Texture TGA (*.tga)|*.tga|");
  EXPECT_EQ(theDriver.libraryPath(), "..\\tsdriver\\libfx.xml");
  EXPECT_EQ(theDriver.libraryPath().size(), 21u) << "one backslash between the names";
  // The host keeps the references: they must stay the same objects.
  EXPECT_EQ(&theDriver.fileFilter(), &theDriver.fileFilter());
  EXPECT_EQ(&theDriver.libraryPath(), &theDriver.libraryPath());
}

TEST(EffectFactory, TypeNamesMatchCaseSensitivelyInTableOrder) {
  const char* const expected[] = {"fx_simple_bmp",   "fx_simple_scene", "fx_simple_color", "fx_blur_radial",
                                  "fx_trans_white",  "fx_trans_blend",  "fx_trans_direct", "fx_render_bw",
                                  "fx_render_rgb",   "fx_sr_gaussian",  "fx_sr_channels"};
  for (int i = 0; i < kEffectTypeCount; ++i) {
    EXPECT_STREQ(effectTypeName(i), expected[i]);
    EXPECT_EQ(effectTypeIndex(expected[i]), i);
  }
  for (const char* wrong : {"FX_SIMPLE_BMP", "Fx_simple_bmp", "fx_simple_bm", "fx_simple_bmp ", "", "fx_unknown"})
    EXPECT_EQ(effectTypeIndex(wrong), -1) << wrong;

  host::HostControllerFactory factory;
  theDriver.setControllerFactory(tstest::driverSide(&factory));
  EXPECT_EQ(theDriver.controllerFactory, tstest::driverSide(&factory));
  EffectDescriptor unknown;
  unknown.name = "FX_SIMPLE_COLOR";
  EXPECT_EQ(theDriver.createEffect(unknown, "x"), nullptr);
  EXPECT_EQ(theDriver.createEffect(std::string("fx_Simple_color")), nullptr);
  theDriver.setControllerFactory(nullptr);
}

TEST(DataKind, TheLastDotDecidesCaseSensitively) {
  EXPECT_EQ(dataKindOf("scene.ts2"), DataKind::Scene);
  EXPECT_EQ(dataKindOf("c:\\demo\\my.scene.ts2"), DataKind::Scene);
  EXPECT_EQ(dataKindOf("scene.TS2"), DataKind::None);
  EXPECT_EQ(dataKindOf("scene.ts2.bak"), DataKind::None);
  EXPECT_EQ(dataKindOf("noextension"), DataKind::None);
  EXPECT_EQ(dataKindOf("dir.v2\\picture"), DataKind::None);
  EXPECT_EQ(dataKindOf(""), DataKind::None);
  for (const char* image : {"a.bmp", "a.dds", "a.dib", "a.jpg", "a.png", "a.tga"})
    EXPECT_EQ(dataKindOf(image), DataKind::Texture) << image;
  for (const char* other : {"a.PNG", "a.jpeg", "a.gif", "a."}) EXPECT_EQ(dataKindOf(other), DataKind::None) << other;

  EXPECT_EQ(theDriver.loadData("noextension"), nullptr);
  EXPECT_EQ(theDriver.loadData("music.ogg"), nullptr);
}

// The module as the host sees it: loaded by name, one entry point, one object.
TEST(DriverModule, ExportGivesOneObjectThatAnswers) {
  HMODULE module = LoadLibraryA("tsDriver.dll");
  ASSERT_NE(module, nullptr);
  using GetDriver = DriverKMT* (*)();
  auto getDriver = reinterpret_cast<GetDriver>(reinterpret_cast<void*>(GetProcAddress(module, "TESSARIN_GetDriver")));
  ASSERT_NE(getDriver, nullptr);
  DriverKMT* first = getDriver();
  DriverKMT* second = getDriver();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_NE(first, &theDriver) << "the module has its own driver object";
  EXPECT_EQ(first->version(), 3);
  EXPECT_EQ(first->libraryPath(), "..\\tsdriver\\libfx.xml");
  EXPECT_EQ(GetProcAddress(module, "DllMain"), nullptr);
  EXPECT_EQ(GetProcAddress(module, "_ZN9DriverKMT7versionEv"), nullptr);
  FreeLibrary(module);
}

}  // namespace
