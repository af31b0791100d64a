// tsplay: the reference host. It loads the driver module the way the host does
// and drives it through the driver object alone.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "context/context.h"
#include "driver/driver_kmt.h"
#include "driver/host/effect_descriptor.h"
#include "effects/render_window.h"
#include "effects/timeline_item.h"
#include "player/driver_module.h"
#include "player/frame_capture.h"
#include "player/host/host_controllers.h"
#include "player/progress.h"

namespace {

const char* const kEffectNames[] = {"fx_simple_color", "fx_simple_bmp",   "fx_simple_scene", "fx_blur_radial",
                                    "fx_trans_white",  "fx_trans_blend",  "fx_trans_direct", "fx_render_bw",
                                    "fx_render_rgb",   "fx_sr_gaussian",  "fx_sr_channels"};

struct Options {
  std::string module = "tsDriver.dll";
  bool info = false;
  std::string offlineDir;  // empty: live
  bool live = false;
  double from = 0.0, to = 0.0, fps = 25.0, seconds = 2.0;
  unsigned int width = 640, height = 480;
};

int usage(FILE* out) {
  std::fprintf(out,
               "usage: tsplay [options]\n"
               "Loads the driver module the way the host does and prints its description and\n"
               "version first, whatever the mode.\n"
               "  --module PATH      the driver module (default tsDriver.dll beside tsplay)\n"
               "  --info             print the file filter, the effect library path and which\n"
               "                     effects the driver makes\n"
               "  --offline DIR      render frames offline into DIR/frame_NNNNN.png, with a\n"
               "                     progress bar; frame times run --from to --to at --fps\n"
               "  --from SECONDS     first frame time (default 0)\n"
               "  --to SECONDS       last frame time (default 0: one frame)\n"
               "  --fps N            frames per second offline (default 25)\n"
               "  --live             show frames in a window in real time until it is closed,\n"
               "                     Escape is pressed, or --seconds have passed\n"
               "  --seconds N        how long --live plays (default 2)\n"
               "  --size WxH         window and back buffer size (default 640x480)\n"
               "Without a project the frames are the driver's idle frame.\n");
  return out == stdout ? 0 : 2;
}

bool parseNumber(const char* text, double& value) {
  char* end = nullptr;
  value = std::strtod(text, &end);
  return end != text && *end == '\0';
}

bool parse(int argc, char** argv, Options& options, int& exitCode) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&](const char*& out) {
      if (i + 1 >= argc) return false;
      out = argv[++i];
      return true;
    };
    const char* text = nullptr;
    if (arg == "--help" || arg == "-h") {
      exitCode = usage(stdout);
      return false;
    } else if (arg == "--info") {
      options.info = true;
    } else if (arg == "--live") {
      options.live = true;
    } else if (arg == "--module" && value(text)) {
      options.module = text;
    } else if (arg == "--offline" && value(text)) {
      options.offlineDir = text;
    } else if ((arg == "--from" || arg == "--to" || arg == "--fps" || arg == "--seconds") && value(text)) {
      double number;
      if (!parseNumber(text, number)) {
        std::fprintf(stderr, "tsplay: %s needs a number, not '%s'\n", arg.c_str(), text);
        exitCode = 2;
        return false;
      }
      (arg == "--from" ? options.from : arg == "--to" ? options.to : arg == "--fps" ? options.fps : options.seconds) =
          number;
    } else if (arg == "--size" && value(text)) {
      unsigned int w = 0, h = 0;
      char extra;
      if (std::sscanf(text, "%ux%u%c", &w, &h, &extra) != 2 || w < 16 || h < 16 || w > 8192 || h > 8192) {
        std::fprintf(stderr, "tsplay: --size needs WxH between 16 and 8192, not '%s'\n", text);
        exitCode = 2;
        return false;
      }
      options.width = w;
      options.height = h;
    } else {
      std::fprintf(stderr, "tsplay: unknown or incomplete argument '%s'\n", arg.c_str());
      exitCode = usage(stderr);
      return false;
    }
  }
  if (options.fps <= 0.0 || options.to < options.from) {
    std::fprintf(stderr, "tsplay: need --fps above 0 and --to not before --from\n");
    exitCode = 2;
    return false;
  }
  return true;
}

void printInfo(DriverKMT* driver) {
  std::printf("file filter: %s\n", driver->fileFilter().c_str());
  std::printf("effect library: %s\n", driver->libraryPath().c_str());
  HostControllerFactory factory;
  driver->setControllerFactory(&factory);
  int made = 0;
  for (const char* name : kEffectNames) {
    EffectDescriptor descriptor;
    descriptor.name = name;
    TimelineItem* effect = driver->createEffect(descriptor, name);
    std::printf("effect %-16s %s\n", name, effect ? "made" : "not available in this build");
    if (effect) {
      ++made;
      effect->destroy();
    }
  }
  std::printf("%d of %d effects made\n", made, static_cast<int>(sizeof kEffectNames / sizeof *kEffectNames));
  driver->setControllerFactory(nullptr);
}

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

std::string framePath(const std::string& dir, long index) {
  char name[32];
  std::snprintf(name, sizeof name, "frame_%05ld.png", index);
  return dir + "\\" + name;
}

int renderOffline(DriverKMT* driver, const Options& options) {
  if (!CreateDirectoryA(options.offlineDir.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
    std::fprintf(stderr, "tsplay: cannot create the output folder '%s'\n", options.offlineDir.c_str());
    return 1;
  }
  HWND window = createWindow(options.width, options.height, false);
  RenderWindow* renderWindow = driver->renderWindow();
  renderWindow->open(window, nullptr, options.width, options.height, 32, true, 0);
  const long count = static_cast<long>((options.to - options.from) * options.fps + 1e-6) + 1;
  Progress progress(stderr, "frames", count);
  int status = 0;
  Frame frame;
  for (long i = 0; i < count; ++i) {
    renderWindow->drawIdleFrame();
    const std::string path = framePath(options.offlineDir, i);
    if (!captureBackBuffer(renderWindow->context->device, frame) || !saveFrame(frame, path)) {
      std::fprintf(stderr, "\ntsplay: cannot write the frame '%s'\n", path.c_str());
      status = 1;
      break;
    }
    renderWindow->present();
    progress.show(i + 1);
  }
  if (status == 0) progress.finish();
  renderWindow->close();
  DestroyWindow(window);
  if (status == 0) std::printf("%ld frames written to %s\n", count, options.offlineDir.c_str());
  return status;
}

int playLive(DriverKMT* driver, const Options& options) {
  HWND window = createWindow(options.width, options.height, true);
  RenderWindow* renderWindow = driver->renderWindow();
  renderWindow->open(window, nullptr, options.width, options.height, 32, true, 0);
  const DWORD start = GetTickCount();
  MSG message;
  bool running = true;
  while (running && GetTickCount() - start < static_cast<DWORD>(options.seconds * 1000.0)) {
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) running = false;
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
    renderWindow->drawIdleFrame();
    renderWindow->present();
    Sleep(10);
  }
  renderWindow->close();
  DestroyWindow(window);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int exitCode = 0;
  if (!parse(argc, argv, options, exitCode)) return exitCode;

  DriverModule module;
  std::string error;
  if (!module.load(options.module, error)) {
    std::fprintf(stderr, "tsplay: %s\n", error.c_str());
    return 1;
  }
  DriverKMT* driver = module.driver();
  std::printf("%s, version %d\n", driver->description(), driver->version());
  std::fflush(stdout);

  if (options.info) printInfo(driver);
  if (!options.offlineDir.empty()) {
    const int status = renderOffline(driver, options);
    if (status != 0) return status;
  }
  if (options.live) return playLive(driver, options);
  return 0;
}
