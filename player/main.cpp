// tsplay: the reference host. It loads the driver module the way the host does
// and drives it through the driver object alone.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "player/animation_file.h"
#include "player/host/driver_interface.h"
#include "player/host/driver_module.h"
#include "player/host/driver_notices.h"
#include "player/host/effect_library.h"
#include "player/host/host_controllers.h"
#include "player/host/project_file.h"
#include "player/playback.h"

namespace {

using host::DriverKMT;
using host::EffectDescriptor;
using host::EffectLibrary;
using host::LoadError;
using host::ParamDescriptor;
using host::TimelineItem;

struct Options {
  std::string module = "tsDriver.dll";
  std::string project;  // empty: none
  std::string exportPath;  // empty: no export
  bool info = false;
  std::string offlineDir;
  std::string rawVideo;
  std::string contactSheet;
  std::string audio, waveform;
  bool cleared = false, readBackOnly = false;
  bool live = false;
  double from = 0.0, to = 0.0, fps = 25.0;
  bool toEnd = false;  // --to end: the project's last frame
  double seconds = -1.0;  // below 0: to the project's end
  unsigned int width = 640, height = 480;
};

int usage(FILE* out) {
  std::fprintf(out,
               "usage: tsplay [options] [PROJECT]\n"
               "Loads the driver module the way the host does, prints its description and\n"
               "version, reads the effect library at the path the driver names and plays\n"
               "PROJECT, an XML project file, in the modes asked for. A PROJECT ending in\n"
               ".stfx is an exported animation, played the same way; its soundtrack is the\n"
               "file of that name beside it, and without one it plays silent.\n"
               "  --module PATH      the driver module (default tsDriver.dll beside tsplay)\n"
               "  --export FILE      write the project, its scenes and images as one animation\n"
               "                     FILE (.stfx), and print what went in\n"
               "  --info             print the file filter, the effect library path and each\n"
               "                     library effect with its parameters and whether the\n"
               "                     driver makes it\n"
               "  --offline DIR      offline mode: render frames into DIR/frame_NNNNN.png, with\n"
               "                     a progress bar; frame times run --from to --to at --fps\n"
               "  --from SECONDS     first frame time (default 0)\n"
               "  --to SECONDS|end   last offline frame time (default 0: one frame); end: the\n"
               "                     last frame that starts before the project's end\n"
               "  --fps N            frames per second offline (default 25)\n"
               "  --contact-sheet F  offline, also write F: one PNG of twelve frames spread\n"
               "                     over the run, in a grid, and under it the soundtrack's\n"
               "                     outline with the frames' times marked\n"
               "  --raw-video FILE   offline, every frame into FILE (a named pipe, say) instead\n"
               "                     of PNG files: raw, width x height x 4 bytes, B G R A\n"
               "  --audio FILE       offline, also write FILE: the soundtrack of the frames'\n"
               "                     span as 44.1 kHz stereo WAV, to the sample; silence\n"
               "                     without a soundtrack\n"
               "  --waveform FILE    offline, also write FILE: the soundtrack's outline as PNG\n"
               "  --cleared          offline, to measure the floor of frame output: draw\n"
               "                     nothing, only clear each frame\n"
               "  --read-back-only   offline, to measure drawing without output: read each\n"
               "                     frame back and write nothing\n"
               "  --live             live mode: play in a window from --from, timed by the\n"
               "                     soundtrack as it plays (or the clock without one), until\n"
               "                     the window is closed, Escape is pressed, or --seconds\n"
               "                     have passed\n"
               "  --seconds N        how long --live plays (default: to the project's end, or\n"
               "                     2 without a project)\n"
               "  --size WxH         window and back buffer size (default 640x480)\n"
               "Without a project the frames are the driver's idle frame. A project that\n"
               "cannot be played stops tsplay with one message, FILE:LINE: problem, exit\n"
               "code 1, and no frame written.\n");
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
    } else if (arg == "--export" && value(text)) {
      options.exportPath = text;
    } else if (arg == "--offline" && value(text)) {
      options.offlineDir = text;
    } else if (arg == "--raw-video" && value(text)) {
      options.rawVideo = text;
    } else if (arg == "--to" && i + 1 < argc && std::string(argv[i + 1]) == "end") {
      options.toEnd = true;
      ++i;
    } else if (arg == "--contact-sheet" && value(text)) {
      options.contactSheet = text;
    } else if (arg == "--audio" && value(text)) {
      options.audio = text;
    } else if (arg == "--waveform" && value(text)) {
      options.waveform = text;
    } else if (arg == "--cleared") {
      options.cleared = true;
    } else if (arg == "--read-back-only") {
      options.readBackOnly = true;
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
    } else if (arg.compare(0, 2, "--") != 0 && options.project.empty()) {
      options.project = arg;
    } else {
      std::fprintf(stderr, "tsplay: unknown or incomplete argument '%s'\n", arg.c_str());
      exitCode = usage(stderr);
      return false;
    }
  }
  if (options.fps <= 0.0 || (!options.toEnd && options.to < options.from)) {
    std::fprintf(stderr, "tsplay: need --fps above 0 and --to not before --from\n");
    exitCode = 2;
    return false;
  }
  return true;
}

void printInfo(DriverKMT* driver, const EffectLibrary& library) {
  std::printf("file filter: %s\n", driver->fileFilter().c_str());
  std::printf("effect library: %s\n", driver->libraryPath().c_str());
  host::HostControllerFactory factory;
  driver->setControllerFactory(&factory);
  int made = 0;
  for (const EffectDescriptor& descriptor : library.effects()) {
    TimelineItem* effect = driver->createEffect(descriptor, descriptor.name);
    std::printf("effect %-16s %s\n", descriptor.name.c_str(), effect ? "made" : "not available in this build");
    for (const ParamDescriptor& param : descriptor.params)
      std::printf("  %-10s %-16s %s\n", param.name.c_str(), host::paramKindName(param.kind),
                  param.initialValue.empty() ? "(none)" : param.initialValue.c_str());
    if (effect) {
      ++made;
      effect->destroy();
    }
  }
  std::printf("%d of %d effects made\n", made, static_cast<int>(library.effects().size()));
  driver->setControllerFactory(nullptr);
}

int fail(const LoadError& error) {
  std::fprintf(stderr, "tsplay: %s\n", error.message().c_str());
  return 1;
}

// An exported animation is read by the driver once the stage's device is open; without its
// soundtrack beside it, it plays silent.
bool buildStage(Stage& stage, DriverKMT& driver, const Options& options, const host::ProjectFile& project,
                const EffectLibrary& library, LoadError& error) {
  if (!animation_file::isAnimation(options.project)) return stage.build(project, library, error);
  host::ProjectFile inside;
  return animation_file::read(driver, options.project, library, inside, error) &&
         stage.build(inside, library, error, host::HostProject::MissingSoundtrack::silent);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int exitCode = 0;
  if (!parse(argc, argv, options, exitCode)) return exitCode;

  host::DriverModule module;
  std::string message;
  if (!module.load(options.module, message)) {
    std::fprintf(stderr, "tsplay: %s\n", message.c_str());
    return 1;
  }
  DriverKMT* driver = module.driver();
  std::printf("%s, version %d\n", driver->description(), driver->version());
  std::fflush(stdout);

  // The library lies where the driver says, relative to our working folder.
  EffectLibrary library;
  host::ProjectFile project;
  LoadError error;
  if (!library.load(driver->libraryPath(), error)) return fail(error);
  const bool fromAnimation = animation_file::isAnimation(options.project);
  if (!options.project.empty() && !fromAnimation && !project.load(options.project, library, error)) return fail(error);
  if (options.info) printInfo(driver, library);

  if (!options.exportPath.empty()) {
    if (options.project.empty() || fromAnimation) {
      std::fprintf(stderr, "tsplay: --export needs a project file\n");
      return 2;
    }
    Stage stage(*driver, module.handle(), options.width, options.height, false);
    if (const int status = animation_file::write(stage, *driver, project, library, options.exportPath)) return status;
  }

  if (!options.offlineDir.empty() || !options.rawVideo.empty()) {
    Stage stage(*driver, module.handle(), options.width, options.height, false);
    if (!buildStage(stage, *driver, options, project, library, error)) return fail(error);
    const double lastStart = stage.project().endTime() - 1.0 / options.fps;
    const double to = options.toEnd ? std::max(lastStart, options.from) : options.to;
    const int status = renderOffline(stage, {options.offlineDir, options.rawVideo, options.from, to, options.fps,
                                             options.contactSheet, options.audio, options.waveform, options.cleared,
                                             options.readBackOnly});
    if (status != 0) return status;
  }
  if (options.live) {
    // Someone watches now: the driver's boxes show and wait for an answer.
    host::driver_notices::showBoxes(true);
    Stage stage(*driver, module.handle(), options.width, options.height, true);
    if (!buildStage(stage, *driver, options, project, library, error)) return fail(error);
    double seconds = options.seconds;
    if (seconds < 0.0) seconds = options.project.empty() ? 2.0 : stage.project().endTime() - options.from;
    return playLive(stage, options.from, seconds);
  }
  return 0;
}
