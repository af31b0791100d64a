// tsimport IN OUT.ts2 [--scale S] [--up y|z] [--compress]: a glTF, GLB or OBJ model as a scene
// file. Prints what was written and what was dropped; on any error one line naming the file
// and the problem, exit code 1, and no OUT file.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "scenebuild/import/import.h"
#include "scenebuild/import/model_scene.h"

namespace {

constexpr int kPlain = 0, kCompressed = 1;  // SceneBuilder::write's modes

struct Options {
  std::string in, out;
  float scale = 1.0f;
  tsimport::UpAxis up = tsimport::UpAxis::Y;
  int mode = kPlain;
};

bool parse(int argc, char** argv, Options& options, std::string& error) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--compress") {
      options.mode = kCompressed;
    } else if (arg == "--scale" && hasValue) {
      char* end = nullptr;
      options.scale = std::strtof(argv[++i], &end);
      if (*end != '\0' || !(options.scale > 0.0f)) return (error = "--scale needs a positive number"), false;
    } else if (arg == "--up" && hasValue) {
      const std::string axis = argv[++i];
      if (axis != "y" && axis != "z") return (error = "--up takes y or z"), false;
      options.up = axis == "z" ? tsimport::UpAxis::Z : tsimport::UpAxis::Y;
    } else if (arg.rfind("--", 0) == 0) {
      return (error = "unknown or incomplete option " + arg), false;
    } else if (options.in.empty()) {
      options.in = arg;
    } else if (options.out.empty()) {
      options.out = arg;
    } else {
      return (error = "one input and one output only"), false;
    }
  }
  if (options.out.empty()) return (error = "usage: tsimport IN OUT.ts2 [--scale S] [--up y|z] [--compress]"), false;
  return true;
}

int fail(const std::string& message) {
  std::fprintf(stderr, "tsimport: %s\n", message.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string error;
  if (!parse(argc, argv, options, error)) return fail(error);
  tsimport::Model model;
  if (!tsimport::importFile(options.in, tsimport::Conversion(options.scale, options.up), model, error))
    return fail(error);
  scenebuild::SceneBuilder builder;
  const tsimport::SceneSummary summary = tsimport::buildScene(model, builder);
  if (!builder.write(options.out, options.mode, &error)) return fail(error);
  std::printf("%s: %s; %zu warning%s\n", options.out.c_str(), summary.line().c_str(), model.warnings.size(),
              model.warnings.size() == 1 ? "" : "s");
  for (const std::string& note : model.notes) std::printf("  note: %s\n", note.c_str());
  for (const std::string& warning : model.warnings) std::printf("  warning: %s\n", warning.c_str());
  return 0;
}
