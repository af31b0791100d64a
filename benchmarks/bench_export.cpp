// The default project exported as one animation and loaded back, through the driver object in
// this process, each against floors measured in the same run: the same bytes written with
// fwrite or read with fread, and the project's items loaded from their own files.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "driver/driver_kmt.h"
#include "platform/whole_file.h"
#include "tests/device/test_device.h"
#include "tests/support/list_project.h"
#include "tests/support/recording_tracer.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRounds = 7;
constexpr size_t kMaxBytes = size_t{1} << 30;

// What make_default_project writes and its project names.
const char* const kItems[] = {"default.ts2", "bloomed.ts2", "graded.ts2", "lens.ts2", "grade.png", "title.png"};

template <class Run>
double milliseconds(const Run& run) {
  const Clock::time_point start = Clock::now();
  run();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The median of the rounds: a shared machine stalls some of them.
double median(std::vector<double> times) {
  std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
  return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bench_export FOLDER   (a folder make_default_project wrote)\n");
    return 2;
  }
  const std::string folder = argv[1], animationPath = folder + "\\bench.stfx", copyPath = folder + "\\bench.bytes";
  std::vector<uint8_t> projectFile;
  if (!platform::readWholeFile(folder + "\\default.xml", projectFile, kMaxBytes)) {
    std::fprintf(stderr, "bench_export: no default project in %s\n", folder.c_str());
    return 1;
  }
  const std::string projectText(projectFile.begin(), projectFile.end());
  HWND window = tstest::createHiddenWindow(640, 480);
  if (!theDriver.renderWindow()->open(window, GetModuleHandleA(nullptr), 640, 480, 32, true, 0)) {
    std::fprintf(stderr, "bench_export: no device\n");
    return 1;
  }
  tstest::RecordingTracer quiet;  // the export's two reports would wait for an answer
  std::vector<double> fromFiles, exported, written, loaded, read;
  std::vector<uint8_t> bytes;
  for (int round = 0; round < kRounds; ++round) {
    // The export changes the scenes it takes, so each round exports a project loaded anew.
    tstest::ListProject project;
    project.soundtrack = folder + "\\tune.wav";
    project.textOf = [&projectText](const std::string&) { return projectText; };
    fromFiles.push_back(milliseconds([&] {
      for (const char* item : kItems) project.items.emplace_back(theDriver.loadData(folder + "\\" + item));
    }));
    exported.push_back(milliseconds([&] { theDriver.exportAnimation(&project, animationPath); }));
    if (!platform::readWholeFile(animationPath, bytes, kMaxBytes)) {
      std::fprintf(stderr, "bench_export: the animation was not written\n");
      return 1;
    }
    written.push_back(milliseconds([&] { platform::writeWholeFile(copyPath, bytes.data(), bytes.size()); }));
  }
  // From here on loadData takes the animation's objects: the loads from files are done.
  std::vector<uint8_t> copy;
  for (int round = 0; round < kRounds; ++round) {
    std::string text;
    loaded.push_back(milliseconds([&] { theDriver.loadAnimation(animationPath, text); }));
    if (text != projectText) {
      std::fprintf(stderr, "bench_export: the animation gave back another project\n");
      return 1;
    }
    read.push_back(milliseconds([&] { platform::readWholeFile(copyPath, copy, kMaxBytes); }));
  }
  const double exportMs = median(exported), writeMs = median(written), loadMs = median(loaded), readMs = median(read);
  const double filesMs = median(fromFiles);
  std::printf("animation export of the default project (%zu bytes): %.1f ms; the same bytes written with fwrite "
              "%.1f ms: ratio %.1f\n",
              bytes.size(), exportMs, writeMs, exportMs / writeMs);
  std::printf("animation load (device resources included): %.1f ms; the same bytes read with fread %.1f ms: ratio "
              "%.1f; the project's items loaded from their own files %.1f ms: ratio %.2f\n",
              loadMs, readMs, loadMs / readMs, filesMs, loadMs / filesMs);
  DeleteFileA(animationPath.c_str());
  DeleteFileA(copyPath.c_str());
  theDriver.renderWindow()->close();
  DestroyWindow(window);
  return 0;
}
