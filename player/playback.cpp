#include "player/playback.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <thread>

#include "player/contact_sheet.h"
#include "player/host/device_tap.h"
#include "player/host/frame_capture.h"
#include "player/host/frame_stream.h"
#include "player/host/frame_writer.h"
#include "player/progress.h"
#include "player/soundtrack.h"

namespace {

using host::DataItem;
using host::Frame;
using host::TimelineItem;

LRESULT CALLBACK windowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CLOSE || (message == WM_KEYDOWN && wParam == VK_ESCAPE)) {
    PostQuitMessage(0);
    return 0;
  }
  return DefWindowProcA(window, message, wParam, lParam);
}

HWND createWindow(unsigned int width, unsigned int height, bool visible) {
  WNDCLASSA windowClass = {};
  windowClass.lpfnWndProc = windowProc;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.hCursor = LoadCursor(nullptr, IDC_ARROW);
  windowClass.lpszClassName = "tsplay";
  RegisterClassA(&windowClass);
  RECT rect = {0, 0, static_cast<LONG>(width), static_cast<LONG>(height)};
  AdjustWindowRect(&rect, WS_OVERLAPPEDWINDOW, FALSE);
  HWND window = CreateWindowA("tsplay", "tsplay", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                              rect.right - rect.left, rect.bottom - rect.top, nullptr, nullptr,
                              windowClass.hInstance, nullptr);
  if (window && visible) ShowWindow(window, SW_SHOW);
  return window;
}

// Effects take their device resources when opened and give them back when closed.
class EffectSwitch : public host::ItemVisitor {
 public:
  explicit EffectSwitch(bool open_) : open(open_) {}
  void visitEffect(TimelineItem* item) override { open ? item->open() : item->close(); }
  void visitData(DataItem*) override {}

 private:
  bool open;
};

constexpr D3DCOLOR kClearedFrame = 0xff000000;

constexpr int kWaveformWidth = 1200, kWaveformHeight = 200;

// The soundtrack's files that the options ask for, and its strip on the sheet. 0, or 1 with a message.
int writeSoundtrack(Stage& stage, const OfflineOptions& options, long count, ContactSheet& sheet) {
  const std::string& track = stage.project().soundtrackPath();
  std::string error;
  if (!options.audio.empty() && !soundtrack::writeSpan(track, options.from, count, options.fps, options.audio, error)) {
    std::fprintf(stderr, "tsplay: %s\n", error.c_str());
    return 1;
  }
  if (track.empty()) {
    if (!options.waveform.empty()) std::fprintf(stderr, "tsplay: --waveform needs a project with a soundtrack\n");
    return options.waveform.empty() ? 0 : 1;
  }
  if (options.waveform.empty() && options.contactSheet.empty()) return 0;
  soundtrack::Session session(stage.soundPlayer());
  if (!session.started) return 1;  // the driver has said why
  soundtrack::Outline outline;
  const double span = static_cast<double>(count) / options.fps;
  if (!options.contactSheet.empty()) {
    if (!soundtrack::outline(session.player, track, span, sheet.width(), outline, error)) {
      std::fprintf(stderr, "tsplay: %s\n", error.c_str());
      return 1;
    }
    sheet.addSoundtrack(outline, options.from, options.fps);
  }
  if (!options.waveform.empty() &&
      (!soundtrack::outline(session.player, track, 0.0, kWaveformWidth, outline, error) ||
       !soundtrack::writePicture(outline, kWaveformWidth, kWaveformHeight, options.waveform))) {
    std::fprintf(stderr, "tsplay: cannot write the waveform '%s' %s\n", options.waveform.c_str(), error.c_str());
    return 1;
  }
  return 0;
}

std::string framePath(const std::string& folder, long index) {
  char name[32];
  std::snprintf(name, sizeof name, "frame_%05ld.png", index);
  return folder + "\\" + name;
}

}  // namespace

Stage::Stage(host::DriverKMT& driver, HMODULE driverModule, unsigned int width, unsigned int height, bool visible)
    : handle(createWindow(width, height, visible)),
      window(driver.renderWindow()),
      player(driver.soundPlayer()),
      hostProject(driver) {
  window->open(handle, driverModule, width, height, 32, true, 0);
}

Stage::~Stage() {
  if (built) setEffectsOpen(false);
  hostProject.clear();
  window->close();
  DestroyWindow(handle);
}

bool Stage::build(const host::ProjectFile& file, const host::EffectLibrary& library, host::LoadError& error,
                  host::HostProject::MissingSoundtrack missing) {
  const bool made = hostProject.build(file, library, error, missing);
  for (const host::LoadError& warning : hostProject.warnings())
    std::fprintf(stderr, "tsplay: %s\n", warning.message().c_str());
  if (!made) return false;
  hostProject.prepare();
  setEffectsOpen(true);
  built = true;
  return true;
}

void Stage::setEffectsOpen(bool open) {
  EffectSwitch effectSwitch(open);
  hostProject.visit(effectSwitch);
}

int renderOffline(Stage& stage, const OfflineOptions& options) {
  const bool streaming = !options.rawVideo.empty();
  if (!streaming && !CreateDirectoryA(options.folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
    std::fprintf(stderr, "tsplay: cannot create the output folder '%s'\n", options.folder.c_str());
    return 1;
  }
  host::RenderWindow* window = stage.renderWindow();
  const long count = static_cast<long>((options.to - options.from) * options.fps + 1e-6) + 1;
  Progress progress(stderr, "frames", count);
  // Twelve cells of a quarter of the 640 x 480 reference.
  ContactSheet sheet(0, static_cast<int>(count - 1), 4, 3, 160, 120);
  IDirect3DDevice9* device = host::tappedDevice();
  host::BackBufferReader reader;
  Frame readOnly;  // the one buffer when nothing is written
  LARGE_INTEGER frequency, started, ended;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&started);
  {
    std::unique_ptr<host::FrameStream> stream;
    if (streaming) {
      stream = std::make_unique<host::FrameStream>(options.rawVideo);
      if (!stream->isOpen()) {
        std::fprintf(stderr, "tsplay: cannot open the raw video stream '%s'\n", options.rawVideo.c_str());
        return 1;
      }
    }
    // Timed up to finish(), which waits for the last frames to be written. A stream keeps its
    // frames in order with one worker.
    const unsigned int workers = streaming ? 1u : std::max(std::thread::hardware_concurrency(), 1u);
    const auto toStream = [&stream](const Frame& frame, const std::string&) { return stream->write(frame); };
    host::FrameWriter writer(workers,
                             streaming ? host::FrameWriter::Save(toStream) : host::FrameWriter::Save(host::saveFrame));
    for (long i = 0; i < count && !writer.failed(); ++i) {
      if (options.cleared)
        device->Clear(0, nullptr, D3DCLEAR_TARGET, kClearedFrame, 1.0f, 0);
      else
        stage.project().drawFrame(static_cast<float>(options.from + static_cast<double>(i) / options.fps));
      const bool writing = !options.readBackOnly;
      Frame& frame = writing ? writer.next() : readOnly;
      if (!reader.read(device, frame)) {
        std::fprintf(stderr, "\ntsplay: cannot read frame %ld back\n", i);
        return 1;
      }
      if (!options.contactSheet.empty())
        sheet.add(static_cast<int>(i), frame.pixels.data(), static_cast<int>(frame.width), static_cast<int>(frame.height));
      if (writing) writer.write(streaming ? options.rawVideo : framePath(options.folder, i));
      window->present();
      progress.show(i + 1);
    }
    std::string failedPath;
    if (!writer.finish(failedPath)) {
      std::fprintf(stderr, "\ntsplay: cannot write %s '%s'\n", streaming ? "to the raw video stream" : "the frame",
                   failedPath.c_str());
      return 1;
    }
  }
  progress.finish();
  QueryPerformanceCounter(&ended);
  const double seconds = static_cast<double>(ended.QuadPart - started.QuadPart) / static_cast<double>(frequency.QuadPart);
  std::printf("%ld frames written to %s in %.2f s (%.1f frames a second)\n", count,
              (streaming ? options.rawVideo : options.folder).c_str(), seconds,
              seconds > 0.0 ? static_cast<double>(count) / seconds : 0.0);
  if (const int status = writeSoundtrack(stage, options, count, sheet)) return status;
  if (!options.contactSheet.empty()) {
    if (!sheet.write(options.contactSheet)) {
      std::fprintf(stderr, "tsplay: cannot write the contact sheet '%s'\n", options.contactSheet.c_str());
      return 1;
    }
    std::printf("contact sheet: %s\n", options.contactSheet.c_str());
  }
  return 0;
}

int playLive(Stage& stage, double from, double seconds) {
  host::RenderWindow* window = stage.renderWindow();
  const std::string& track = stage.project().soundtrackPath();
  std::unique_ptr<soundtrack::Session> sound;
  if (!track.empty()) {
    sound = std::make_unique<soundtrack::Session>(stage.soundPlayer());
    if (!sound->started) return 1;  // the driver has said why
    sound->player.openSoundtrack(track);
    sound->player.seekSoundtrack(static_cast<float>(from));
    sound->player.playSoundtrack();
  }
  const DWORD start = GetTickCount();
  const DWORD limit = static_cast<DWORD>(seconds * 1000.0);
  MSG message;
  bool running = true;
  while (running) {
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) running = false;
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
    const DWORD elapsed = GetTickCount() - start;
    if (elapsed >= limit) break;
    // The soundtrack is the clock while there is one: the pictures follow what is heard.
    const float time = sound ? sound->player.soundtrackTime() : static_cast<float>(from + elapsed / 1000.0);
    stage.project().drawFrame(time);
    window->present();
    Sleep(1);
  }
  if (sound) sound->player.stopSoundtrack();
  return 0;
}
