#include <gtest/gtest.h>

#include <string>

#include "driver/driver_kmt.h"
#include "player/host/effect_library.h"
#include "player/host/host_project.h"
#include "player/host/project_file.h"
#include "tests/player/player_files.h"
#include "tests/support/host_bridge.h"

namespace {

using host::EffectLibrary;
using host::LoadError;

// Each refusal names the file, the line and the problem; rows in the order a file meets them:
// the library, the project, then building the project's items with the driver.
TEST(ProjectFile, WhatCannotBeReadOrBuiltStopsAtItsLine) {
  const std::string folder = player_files::scratchFolder("project_cases");
  EffectLibrary library;
  LoadError error;
  ASSERT_TRUE(library.load(player_files::binaryFolder() + "\\" + theDriver.libraryPath(), error)) << error.message();
  const std::string libraryHead = "<library>\n<effect name=\"a\">\n", libraryTail = "\n</effect>\n</library>";
  auto layer = [](const std::string& inside) { return "<project>\n<layer>\n" + inside + "\n</layer>\n</project>"; };
  const std::string colour = "<effect type=\"fx_simple_color\" start=\"0\" length=\"1\">\n";
  // The parser recurses per level; quoted "/>" and comments must not hide a level.
  std::string deep = "<project>\n";
  for (int i = 0; i < 40; ++i) deep += "<a x='/>'><!-- </a> -->\n";
  enum Stage { kLibrary, kProject, kBuild };
  struct Case {
    Stage stage;
    std::string text;
    int line;
    std::string problem;
  } const cases[] = {
      {kLibrary, libraryHead + "<param name=\"x\" kind=\"double\"/>" + libraryTail, 3,
       "unknown parameter kind 'double'"},
      {kLibrary, libraryHead + "<param name=\"x\" kind=\"float\" value=\"1.5.\"/>" + libraryTail, 3,
       "'1.5.' is not a value of kind float"},
      {kProject, layer("\n<effect type=\"fx_nothing\" start=\"0\" length=\"1\"/>"), 4, "unknown effect 'fx_nothing'"},
      {kProject, layer(colour + "<param name=\"purple\" value=\"1\"/>\n</effect>"), 4,
       "effect 'fx_simple_color' has no parameter 'purple'"},
      {kProject,
       layer(colour + "<param name=\"alpha\">\n<key t=\"0\" value=\"1\"/>\n<key t=\"later\"/>\n</param>\n</effect>"), 6,
       "a <key> needs a number as its t"},
      {kProject,
       layer("<effect type=\"fx_simple_bmp\" start=\"0\" length=\"1\"><param name=\"data\" value=\"logo\"/></effect>"),
       3, "no data item is named 'logo'"},
      {kProject, layer("<effect type=\"fx_simple_color\" start=\"0\" length=\"0\"/>"), 3,
       "the effect needs a length above 0"},
      {kProject, layer("<transition type=\"fx_trans_blend\" start=\"0\" length=\"1\">\n<input/>\n</transition>"), 3,
       "a <transition> needs two <input>s"},
      {kProject, deep, 33, "elements nest deeper than 32 levels"},
      {kProject, std::string("<project>\n\0</project>", 21), 2, "a 0 byte is not XML"},
      {kBuild, "<project>\n<data name=\"logo\" path=\"absent.png\"/>\n</project>", 2,
       "cannot find the data file '" + folder + "\\absent.png'"},
      {kBuild, "<project>\n\n<soundtrack path=\"song.mp3\"/>\n</project>", 3,
       "cannot find the soundtrack '" + folder + "\\song.mp3'"},
      {kBuild, layer("<effect type=\"fx_trans_direct\" start=\"0\" length=\"1\"/>"), 3,
       "effect 'fx_trans_direct' is a transition: it belongs in a <transition>"},
  };
  for (const Case& c : cases) {
    const std::string path = player_files::write(folder, c.stage == kLibrary ? "libfx.xml" : "demo.xml", c.text);
    host::ProjectFile file;
    LoadError refusal;
    bool loaded = c.stage == kLibrary ? EffectLibrary().load(path, refusal) : file.load(path, library, refusal);
    if (c.stage == kBuild) {
      ASSERT_TRUE(loaded) << refusal.message();
      host::HostProject project(tstest::hostSide(theDriver));
      loaded = project.build(file, library, refusal);
      EXPECT_EQ(project.count(), 0u);
    }
    EXPECT_FALSE(loaded) << c.text;
    EXPECT_EQ(refusal.message(), path + ":" + std::to_string(c.line) + ": " + c.problem) << c.text;
  }
}

}  // namespace
