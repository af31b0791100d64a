// tsplay: the reference host. It loads the driver module the way the host does
// and drives it through the driver object alone.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "driver/driver_kmt.h"
#include "driver/host/effect_descriptor.h"
#include "effects/timeline_item.h"
#include "player/host/host_controllers.h"

namespace {

const char* const kEffectNames[] = {"fx_simple_color", "fx_simple_bmp",   "fx_simple_scene", "fx_blur_radial",
                                    "fx_trans_white",  "fx_trans_blend",  "fx_trans_direct", "fx_render_bw",
                                    "fx_render_rgb",   "fx_sr_gaussian",  "fx_sr_channels"};

int usage(FILE* out) {
  std::fprintf(out,
               "usage: tsplay [--module PATH]\n"
               "Loads the driver module (default tsDriver.dll beside tsplay), prints its identity,\n"
               "file filter and effect library path, and makes every effect by name.\n");
  return out == stdout ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::string modulePath = "tsDriver.dll";
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--help") || !std::strcmp(argv[i], "-h")) return usage(stdout);
    if (!std::strcmp(argv[i], "--module") && i + 1 < argc) {
      modulePath = argv[++i];
    } else {
      std::fprintf(stderr, "tsplay: unknown argument '%s'\n", argv[i]);
      return usage(stderr);
    }
  }

  HMODULE module = LoadLibraryA(modulePath.c_str());
  if (!module) {
    std::fprintf(stderr, "tsplay: cannot load the driver module '%s' (error %lu)\n", modulePath.c_str(),
                 GetLastError());
    return 1;
  }
  using GetDriver = DriverKMT* (*)();
  auto getDriver = reinterpret_cast<GetDriver>(reinterpret_cast<void*>(GetProcAddress(module, "TESSARIN_GetDriver")));
  if (!getDriver) {
    std::fprintf(stderr, "tsplay: '%s' has no entry point TESSARIN_GetDriver\n", modulePath.c_str());
    return 1;
  }
  DriverKMT* driver = getDriver();
  std::printf("%s, version %d\n", driver->description(), driver->version());
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
  return 0;
}
