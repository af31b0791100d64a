#include "player/playback.h"

#include <cstdio>

#include "player/contact_sheet.h"
#include "player/host/frame_capture.h"
#include "player/host/device_tap.h"
#include "player/progress.h"

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

std::string framePath(const std::string& folder, long index) {
  char name[32];
  std::snprintf(name, sizeof name, "frame_%05ld.png", index);
  return folder + "\\" + name;
}

}  // namespace

Stage::Stage(host::DriverKMT& driver, HMODULE driverModule, unsigned int width, unsigned int height, bool visible)
    : handle(createWindow(width, height, visible)), window(driver.renderWindow()), hostProject(driver) {
  window->open(handle, driverModule, width, height, 32, true, 0);
}

Stage::~Stage() {
  if (built) setEffectsOpen(false);
  hostProject.clear();
  window->close();
  DestroyWindow(handle);
}

bool Stage::build(const host::ProjectFile& file, const host::EffectLibrary& library, host::LoadError& error) {
  const bool made = hostProject.build(file, library, error);
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
  if (!CreateDirectoryA(options.folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
    std::fprintf(stderr, "tsplay: cannot create the output folder '%s'\n", options.folder.c_str());
    return 1;
  }
  host::RenderWindow* window = stage.renderWindow();
  const long count = static_cast<long>((options.to - options.from) * options.fps + 1e-6) + 1;
  Progress progress(stderr, "frames", count);
  // Twelve cells of a quarter of the 640 x 480 reference.
  ContactSheet sheet(0, static_cast<int>(count - 1), 4, 3, 160, 120);
  Frame frame;
  LARGE_INTEGER frequency, started, ended;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&started);
  for (long i = 0; i < count; ++i) {
    stage.project().drawFrame(static_cast<float>(options.from + static_cast<double>(i) / options.fps));
    const std::string path = framePath(options.folder, i);
    if (!host::captureBackBuffer(host::tappedDevice(), frame) || !host::saveFrame(frame, path)) {
      std::fprintf(stderr, "\ntsplay: cannot write the frame '%s'\n", path.c_str());
      return 1;
    }
    if (!options.contactSheet.empty())
      sheet.add(static_cast<int>(i), frame.pixels.data(), static_cast<int>(frame.width), static_cast<int>(frame.height));
    window->present();
    progress.show(i + 1);
  }
  progress.finish();
  QueryPerformanceCounter(&ended);
  const double seconds = static_cast<double>(ended.QuadPart - started.QuadPart) / static_cast<double>(frequency.QuadPart);
  std::printf("%ld frames written to %s in %.2f s (%.1f frames a second)\n", count, options.folder.c_str(), seconds,
              seconds > 0.0 ? static_cast<double>(count) / seconds : 0.0);
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
    stage.project().drawFrame(static_cast<float>(from + elapsed / 1000.0));
    window->present();
    Sleep(1);
  }
  return 0;
}
