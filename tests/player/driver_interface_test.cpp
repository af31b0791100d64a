// The real module through the host's own view of it, nothing of the driver's
// headers: every operation is reached by its place in the table, as the host
// reaches it, and each row tells by its answer that the right one answered.
#include <gtest/gtest.h>

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "player/host/device_tap.h"
#include "player/host/driver_interface.h"
#include "player/host/driver_module.h"
#include "player/host/effect_library.h"
#include "player/host/frame_capture.h"
#include "player/host/host_controllers.h"
#include "player/host/host_tree.h"
#include "scenebuild/scene_builder.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/player/player_files.h"
#include "tests/sound/test_sounds.h"

namespace {

class RecordingVisitor : public host::ItemVisitor {
 public:
  void visitEffect(host::TimelineItem* item) override { effect = item; }
  void visitData(host::DataItem* item) override { data = item; }
  host::TimelineItem* effect = nullptr;
  host::DataItem* data = nullptr;
};

// The back buffer's pixel at (x, y) as 0xRRGGBB.
uint32_t pixelAt(int x, int y) {
  host::Frame frame;
  if (!host::BackBufferReader().read(host::tappedDevice(), frame)) return 0xFFFFFFFF;
  return frame.pixels[static_cast<size_t>(y) * frame.width + static_cast<size_t>(x)] & 0xFFFFFF;
}

struct Row {
  const char* slot;
  std::function<bool()> answered;
};

constexpr uint32_t kRed = 0xFF0000, kGreen = 0x00FF00;
constexpr int kWidth = 64, kHeight = 48;

TEST(DriverInterface, EveryOperationAnswersAtItsPlaceInTheHostsTables) {
  const std::string folder = player_files::scratchFolder("driver_interface");
  const uint8_t black[4 * 4 * 3] = {};
  const tstest::Bytes bmp = tstest::encodeBmp(4, 4, 3, black);
  const std::string imagePath = player_files::write(folder, "tile.bmp", std::string(bmp.begin(), bmp.end()));
  const std::string scenePath = folder + "\\empty.ts2";
  std::string error;
  ASSERT_TRUE(scenebuild::SceneBuilder().write(scenePath, 0, &error)) << error;
  const tstest::Bytes tone = tstest::wavFile(tstest::makeTone(tstest::Wave::Sine440, 2, 44100, 44100 * 3), 2, 44100, 16, false);
  const std::string songPath = player_files::write(folder, "song.wav", std::string(tone.begin(), tone.end()));

  host::DriverModule module;
  ASSERT_TRUE(module.load("tsDriver.dll", error)) << error;
  host::DriverKMT* driver = module.driver();
  // The colour effect as the shipped library describes it: red, green, blue, alpha, the two blends.
  host::EffectLibrary library;
  host::LoadError libraryError;
  ASSERT_TRUE(library.load(player_files::binaryFolder() + "\\" + driver->libraryPath(), libraryError))
      << libraryError.message();
  HWND window = CreateWindowA("STATIC", "driver interface", WS_OVERLAPPEDWINDOW, 0, 0, kWidth, kHeight, nullptr,
                              nullptr, nullptr, nullptr);
  host::HostControllerFactory factory;
  RecordingVisitor visitor;
  host::RenderWindow* screen = nullptr;
  host::SoundPlayerFMOD* sound = nullptr;
  std::vector<float> points;
  const auto close = [](float value, float expected, float margin) { return value >= expected - margin && value <= expected + margin; };
  host::TimelineItem *effect = nullptr, *empty = nullptr;
  host::DataItem *image = nullptr, *scene = nullptr;
  bool active = false;
  const std::string driverText = "Kalmia Team Simpliest Driver(Final Version)";
  const std::string filter =
      "TS2 3D Scene files (*.ts2)|*.ts2|TS2 3D Texture (*.bmp, *.dds, *.dib, *.jpg, *.png, *.tga)|"
      "*.bmp,*.dds,*.dib,*.jpg,*.png,*.tga|Texture BMP (*.bmp)|*.bmp|Texture DDS (*.dds)|*.dds|Texture DIB "
      "(*.dib)|*.dib|Texture JPG (*.jpg)|*.jpg|Texture PNG (*.png)|*.png|Texture TGA (*.tga)|*.tga|";
  auto setParam = [&](uint32_t index, const char* value) {
    static_cast<host::HostParamController*>(effect->controller(index))->setConstant(value);
  };

  // In order: later rows use what earlier ones made.
  const Row rows[] = {
      {"DriverKMT::version", [&] { return driver->version() == 3; }},
      {"DriverKMT::description", [&] { return driver->description() == driverText; }},
      {"DriverKMT::fileFilter", [&] { return driver->fileFilter() == filter; }},
      {"DriverKMT::libraryPath", [&] { return driver->libraryPath() == "..\\tsdriver\\libfx.xml"; }},
      {"DriverKMT::renderWindow, RenderWindow::open",
       [&] {
         screen = driver->renderWindow();
         // The interface version is the number the host expects, not the SDK header's.
         return screen && screen->open(window, nullptr, kWidth, kHeight, 32, true, 0) && host::tappedDevice() &&
                host::tappedInterfaceVersion() == 31;
       }},
      {"RenderWindow::drawIdleFrame",
       [&] {
         screen->drawIdleFrame();
         return pixelAt(kWidth / 2, kHeight / 2) == kRed && pixelAt(kWidth / 2, 1) != kRed;
       }},
      {"DriverKMT::soundPlayer, SoundPlayerFMOD::init",
       [&] {
         sound = driver->soundPlayer();
         return static_cast<void*>(sound) != screen && sound->init();
       }},
      {"SoundPlayerFMOD::openSoundtrack, seekSoundtrack, soundtrackTime, position",
       [&] {
         sound->openSoundtrack(songPath);
         sound->seekSoundtrack(1.5f);
         return close(sound->soundtrackTime(), 1.5f, 1e-4f) && close(sound->position(), 1.5f, 1e-4f);
       }},
      {"SoundPlayerFMOD::playSoundtrack, stopSoundtrack",
       [&] {
         sound->playSoundtrack();
         Sleep(300);
         sound->stopSoundtrack();
         const float stopped = sound->soundtrackTime();
         Sleep(50);
         return stopped > 1.6f && stopped < 1.85f && sound->soundtrackTime() == stopped;
       }},
      // The preview is a stream of its own: the soundtrack's time stays.
      {"SoundPlayerFMOD::openPreview, playPreview, stopPreview",
       [&] {
         const float before = sound->soundtrackTime();
         sound->openPreview(songPath);
         sound->playPreview();
         sound->stopPreview();
         return sound->soundtrackTime() == before;
       }},
      {"SoundPlayerFMOD::extractWaveform",
       [&] {
         sound->extractWaveform(points, songPath, 100.0f);
         return points.size() == 150 && close(points[0], 0.5f, 0.01f) && close(points[1], -0.5f, 0.01f);
       }},
      {"SoundPlayerFMOD::shutdown",
       [&] {
         sound->shutdown();
         return sound->soundtrackTime() == 0.0f;
       }},
      // The factory reaches the effect: its controllers are ours.
      {"DriverKMT::setControllerFactory, createEffect(descriptor)",
       [&] {
         driver->setControllerFactory(&factory);
         effect = driver->createEffect(*library.find("fx_simple_color"), "colour");
         return effect && effect->controllerCount() == 6 &&
                dynamic_cast<host::HostParamController*>(effect->controller(5));
       }},
      {"DriverKMT::createEffect(typeName)",
       [&] {
         empty = driver->createEffect("fx_simple_color");
         return empty && empty->controllerCount() == 0 && empty->description().params.empty();
       }},
      {"DriverKMT::loadData, DataItem::kind",
       [&] {
         image = driver->loadData(imagePath);
         scene = driver->loadData(scenePath);
         return image && scene && image->kind() == host::kTextureItem && scene->kind() == host::kSceneItem;
       }},
      {"TimelineItem::accept",
       [&] {
         effect->accept(&visitor);
         return visitor.effect == effect;
       }},
      {"TimelineItem::isTransition and the two host tests",
       [&] { return !effect->isTransition() && !effect->hostTestA() && !effect->hostTestB(); }},
      {"TimelineItem::setStartTime, startTime",
       [&] {
         effect->setStartTime(2.0f);
         return effect->startTime() == 2.0f;
       }},
      {"TimelineItem::setDuration, duration",
       [&] {
         effect->setDuration(4.0f);
         return effect->duration() == 4.0f && effect->startTime() == 2.0f;
       }},
      {"TimelineItem::update, progress",
       [&] {
         effect->update(0, 3.0f);
         return effect->progress(&active) == 0.25f && active;
       }},
      {"TimelineItem::controller",
       [&] { return effect->controller(0)->kind == host::ParamController::kFloat &&
                    effect->controller(4)->kind == host::ParamController::kInteger; }},
      {"TimelineItem::name, setName",
       [&] {
         const bool made = effect->name() == "colour";
         effect->setName("renamed");
         return made && effect->name() == "renamed";
       }},
      {"TimelineItem::description",
       [&] { return effect->description().name == "fx_simple_color" && effect->description().params[3].name == "alpha"; }},
      {"TimelineItem::open, clearFrame",
       [&] {
         effect->open();
         screen->drawIdleFrame();
         effect->clearFrame();
         return pixelAt(kWidth / 2, kHeight / 2) != kRed;
       }},
      {"TimelineItem::reset, render",
       [&] {
         setParam(1, "1");
         effect->reset();
         effect->update(0, 3.0f);
         effect->beginCapture();
         effect->render();
         effect->endCapture();
         return pixelAt(kWidth / 2, kHeight / 2) == kGreen;
       }},
      {"TimelineItem::load",
       [&] {
         host::HostTreeElement saved("effect");
         saved.add("controler").set("name", "red").set("value", "1");
         return effect->load(&saved, 0) && effect->controller(0)->floatValue() == 1.0f;
       }},
      {"TimelineItem::loadWithFactory",
       [&] {
         host::HostTreeElement saved("effect");
         saved.add("controler").set("name", "alpha").set("kind", "1").set("value", "0.5");
         return empty->loadWithFactory(&saved, 0, &factory) && empty->controllerCount() == 1 &&
                empty->description().params[0].name == "alpha" && empty->controller(0)->floatValue() == 0.5f;
       }},
      {"DataItem::accept",
       [&] {
         image->accept(&visitor);
         return visitor.data == image;
       }},
      {"DataItem::name, path, description",
       [&] { return image->name() == "tile.bmp" && image->path() == imagePath && image->description() == imagePath; }},
      {"DataItem::setName",
       [&] {
         image->setName("logo");
         return image->name() == "logo" && image->path() == imagePath;
       }},
      {"DataItem::reload", [&] { return image->reload() && scene->reload(); }},
      {"DataItem::typeName", [&] { return image->typeName() == "data_texture" && scene->typeName() == "data_scene"; }},
      {"DataScene::load",
       [&] {
         return static_cast<host::DataScene*>(scene)->load(scenePath) && scene->name() == "empty.ts2" &&
                scene->description() == "a ts3d 2 scene (should see how much data there is in).";
       }},
  };
  for (const Row& row : rows) ASSERT_TRUE(row.answered()) << row.slot;

  // What remains answers nothing we can see; each must come back for the run to end.
  effect->close();
  effect->destroy();
  empty->destroy();
  delete image;
  delete scene;
  driver->setControllerFactory(nullptr);
  screen->present();
  screen->close();
  DestroyWindow(window);
}

}  // namespace
