// Building the module's three effect sources as the effect runtime does before it touches a
// device: fx::parseEffect, then fx::assembleShader of every `asm` block. Per run of all three,
// against a floor of one plain pass over the same bytes (counting their line breaks).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gfxhelper/effect_source.h"
#include "gfxhelper/shader_asm.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kSources[] = {"blur.fx", "channels.fx", "depth_of_field.fx"};
constexpr int kRuns = 2000;
constexpr int kRepeats = 5;

struct Source {
  std::string name;
  std::string text;
};

// The shader tokens of one source, summed over its asm blocks; 0 when the parser or the
// assembler refuses it, with the reason on stderr.
size_t build(const Source& source) {
  fx::EffectSource effect;
  std::string error;
  if (!fx::parseEffect(source.text, effect, error)) {
    std::fprintf(stderr, "bench_effect: %s: %s\n", source.name.c_str(), error.c_str());
    return 0;
  }
  size_t tokens = 0;
  for (const fx::Technique& technique : effect.techniques)
    for (const fx::Pass& pass : technique.passes)
      for (const fx::StateAssignment& state : pass.states) {
        if (state.value.kind != fx::Value::Assembly) continue;
        std::vector<uint32_t> code;
        if (!fx::assembleShader(state.value.text, code, error, state.value.line)) {
          std::fprintf(stderr, "bench_effect: %s: %s\n", source.name.c_str(), error.c_str());
          return 0;
        }
        tokens += code.size();
      }
  return tokens;
}

// The best of kRepeats timings of kRuns calls of work, in microseconds per call.
template <class F>
double microsecondsPerRun(F&& work) {
  double best = 1e30;
  for (int r = 0; r < kRepeats; ++r) {
    const auto started = Clock::now();
    for (int run = 0; run < kRuns; ++run) work();
    best = std::min(best, std::chrono::duration<double, std::micro>(Clock::now() - started).count() / kRuns);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
    std::printf("usage: bench_effect [FOLDER]\n\nTimes parsing and assembling %s, %s and %s of FOLDER "
                "(default renderers/shaders, from the source root) against counting their line breaks.\n",
                kSources[0], kSources[1], kSources[2]);
    return std::string(argv[1]) == "--help" ? 0 : 2;
  }
  const std::string folder = argc == 2 ? argv[1] : "renderers/shaders";
  std::vector<Source> sources;
  size_t bytes = 0;
  for (const char* name : kSources) {
    std::ifstream file(folder + "/" + name, std::ios::binary);
    Source source{name, std::string(std::istreambuf_iterator<char>(file), {})};
    if (source.text.empty()) {
      std::fprintf(stderr, "bench_effect: cannot read %s/%s\n", folder.c_str(), name);
      return 1;
    }
    bytes += source.text.size();
    sources.push_back(std::move(source));
  }
  size_t tokens = 0;
  for (const Source& source : sources) {
    const size_t made = build(source);
    if (made == 0) return 1;
    tokens += made;
  }

  // Sums keep the work from being optimised away; they are printed.
  volatile size_t sink = 0;
  const double building = microsecondsPerRun([&] {
    for (const Source& source : sources) sink = sink + build(source);
  });
  const double floor = microsecondsPerRun([&] {
    for (const Source& source : sources) sink = sink + static_cast<size_t>(std::count(source.text.begin(), source.text.end(), '\n'));
  });
  std::printf("parse + assemble of the 3 effect sources (%zu bytes, %zu shader tokens): %.1f us per run; floor "
              "(one pass counting line breaks) %.2f us; ratio %.0f (checksum %zu)\n",
              bytes, tokens, building, floor, building / floor, static_cast<size_t>(sink));
  return 0;
}
