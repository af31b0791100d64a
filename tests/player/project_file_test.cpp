#include <gtest/gtest.h>

#include <string>

#include "driver/driver_kmt.h"
#include "driver/effect_factory.h"
#include "player/host/effect_library.h"
#include "player/host/host_project.h"
#include "player/host/project_file.h"
#include "tests/player/player_files.h"
#include "tests/support/host_bridge.h"

namespace {

using host::acceptsValue;
using host::EffectDescriptor;
using host::EffectLibrary;
using host::HostProject;
using host::LoadError;
using host::ParamController;
using host::ParamDescriptor;
using host::ProjectFile;

const char* const kLibrary = R"(<library>
  <effect name="fx_simple_color">
    <param name="red" kind="float" value="0"/>
    <param name="alpha" kind="float" value="1"/>
    <param name="srcBlend" kind="integer" value="1"/>
  </effect>
  <effect name="fx_simple_bmp">
    <param name="data" kind="data" value=""/>
    <param name="mode" kind="integer-at-reset" value="2"/>
  </effect>
</library>
)";

EffectLibrary testLibrary(const std::string& folder) {
  EffectLibrary library;
  LoadError error;
  EXPECT_TRUE(library.load(player_files::write(folder, "libfx.xml", kLibrary), error)) << error.message();
  return library;
}

TEST(EffectLibrary, ShippedLibraryListsTheElevenEffectsWithTypedParameters) {
  EffectLibrary library;
  LoadError error;
  const std::string path = player_files::binaryFolder() + "\\" + theDriver.libraryPath();
  ASSERT_TRUE(library.load(path, error)) << error.message();
  ASSERT_EQ(library.effects().size(), static_cast<size_t>(kEffectTypeCount));
  for (int i = 0; i < kEffectTypeCount; ++i) {
    const EffectDescriptor* effect = library.find(effectTypeName(i));
    ASSERT_NE(effect, nullptr) << effectTypeName(i);
    EXPECT_FALSE(effect->params.empty()) << effect->name;
    for (const ParamDescriptor& param : effect->params)
      EXPECT_TRUE(acceptsValue(param.kind, param.initialValue.c_str())) << effect->name << " " << param.name;
  }
  // The colour effect binds red, green, blue, alpha, then the two blend choices.
  const EffectDescriptor* color = library.find("fx_simple_color");
  const char* const names[] = {"red", "green", "blue", "alpha", "destBlend", "srcBlend"};
  const uint32_t kinds[] = {1, 1, 1, 1, 2, 2};
  const char* const initial[] = {"0", "0", "0", "1", "0", "1"};
  ASSERT_EQ(color->params.size(), 6u);
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(color->params[i].name, names[i]);
    EXPECT_EQ(color->params[i].kind, kinds[i]);
    EXPECT_EQ(color->params[i].initialValue, initial[i]);
  }
  EXPECT_EQ(library.find("fx_simple_scene")->params[0].kind, static_cast<uint32_t>(ParamController::kData));
  EXPECT_EQ(library.find("fx_sr_channels")->params.size(), 4u);
  EXPECT_EQ(library.find("FX_SIMPLE_COLOR"), nullptr);
}

TEST(EffectLibrary, MalformedEntriesStopAtTheirLine) {
  const std::string folder = player_files::scratchFolder("library_cases");
  struct Case {
    const char* text;
    int line;
    const char* problem;
  };
  const Case cases[] = {
      {"<library>\n<effect name=\"a\">\n<param name=\"x\" kind=\"double\"/>\n</effect>\n</library>", 3,
       "unknown parameter kind 'double'"},
      {"<library>\n<effect name=\"a\"/>\n\n<effect name=\"a\"/>\n</library>", 4, "effect 'a' is listed twice"},
      {"<library>\n<effect name=\"a\">\n<param name=\"x\" kind=\"float\" value=\"1.5.\"/>\n</effect>\n</library>", 3,
       "'1.5.' is not a value of kind float"},
      {"<library>\n<effect name=\"a\">\n<param name=\"x\" kind=\"float\"/>\n<param name=\"x\" kind=\"data\"/>\n"
       "</effect>\n</library>",
       4, "parameter 'x' of 'a' is listed twice"},
      {"<library>\n<effect>\n</effect>\n</library>", 2, "an <effect> needs the attribute name"},
      {"<effects/>", 1, "the root element is <effects>, not <library>"},
      {"<library>\n<effect name=\"a\">\n<param name=\"x\" kind=\"float\">\n</effect>\n</library>", 4,
       "malformed XML: invalid closing tag name"},
  };
  for (const Case& c : cases) {
    const std::string path = player_files::write(folder, "libfx.xml", c.text);
    EffectLibrary library;
    LoadError error;
    EXPECT_FALSE(library.load(path, error)) << c.text;
    EXPECT_EQ(error.message(), path + ":" + std::to_string(c.line) + ": " + c.problem) << c.text;
    EXPECT_TRUE(library.effects().empty());
  }
  LoadError error;
  EffectLibrary library;
  EXPECT_FALSE(library.load(folder + "\\absent.xml", error));
  EXPECT_EQ(error.message(), folder + "\\absent.xml: cannot open the file");
}

TEST(ProjectFile, ReadsSoundtrackDataAndLayersOfConstantsAndCurves) {
  const std::string folder = player_files::scratchFolder("project_read");
  const EffectLibrary library = testLibrary(folder);
  const std::string path = player_files::write(folder, "demo.xml", R"(<?xml version="1.0"?>
<project>
  <layer>
    <effect type="fx_simple_color" name="back" start="0" length="2.5">
      <param name="red" value="0.75"/>
      <param name="alpha">
        <key t="1" value="0"/>
        <key t="0" value="1"/>
      </param>
    </effect>
    <effect type="fx_simple_bmp" start="2.5" length="1">
      <param name="data" value="logo"/>
    </effect>
  </layer>
  <layer/>
  <data name="logo" path="pictures\logo.png"/>
  <soundtrack path="C:\music\track.mp3"/>
</project>
)");
  ProjectFile project;
  LoadError error;
  ASSERT_TRUE(project.load(path, library, error)) << error.message();
  EXPECT_EQ(project.soundtrack, "C:\\music\\track.mp3");
  EXPECT_EQ(project.soundtrackLine, 17);
  ASSERT_EQ(project.data.size(), 1u);
  EXPECT_EQ(project.data[0].path, folder + "\\pictures\\logo.png");
  EXPECT_EQ(project.data[0].line, 16);
  ASSERT_EQ(project.layers.size(), 2u);
  EXPECT_TRUE(project.layers[1].effects.empty());
  ASSERT_EQ(project.layers[0].effects.size(), 2u);
  const ProjectFile::Effect& back = project.layers[0].effects[0];
  EXPECT_EQ(back.type, "fx_simple_color");
  EXPECT_EQ(back.name, "back");
  EXPECT_EQ(back.line, 4);
  EXPECT_FLOAT_EQ(back.start, 0.0f);
  EXPECT_FLOAT_EQ(back.length, 2.5f);
  ASSERT_EQ(back.params.size(), 2u);
  EXPECT_EQ(back.params[0].value, "0.75");
  EXPECT_TRUE(back.params[0].keys.empty());
  ASSERT_EQ(back.params[1].keys.size(), 2u);
  EXPECT_EQ(back.params[1].keys[0], std::make_pair(std::string("1"), std::string("0")));
  EXPECT_EQ(back.params[1].line, 6);
  EXPECT_EQ(project.layers[0].effects[1].name, "fx_simple_bmp") << "an unnamed effect takes its type's name";
  EXPECT_NE(project.text.find("<soundtrack"), std::string::npos) << "the file's own text is kept";
}

TEST(ProjectFile, MalformedProjectsNameTheFileTheLineAndTheProblem) {
  const std::string folder = player_files::scratchFolder("project_cases");
  const EffectLibrary library = testLibrary(folder);
  struct Case {
    const char* text;
    int line;
    const char* problem;
  };
  const Case cases[] = {
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"1\">\n</layer>\n</project>", 4,
       "malformed XML: invalid closing tag name"},
      {"<project>\n<layer>\n\n<effect type=\"fx_nothing\" start=\"0\" length=\"1\"/>\n</layer>\n</project>", 4,
       "unknown effect 'fx_nothing'"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"1\">\n"
       "<param name=\"green\" value=\"1\"/>\n</effect>\n</layer>\n</project>",
       4, "effect 'fx_simple_color' has no parameter 'green'"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"1\">\n"
       "<param name=\"srcBlend\" value=\"one\"/>\n</effect>\n</layer>\n</project>",
       4, "'one' is not a value of kind integer for parameter 'srcBlend'"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"1\">\n<param name=\"alpha\">\n"
       "<key t=\"0\" value=\"1\"/>\n<key t=\"later\" value=\"0\"/>\n</param>\n</effect>\n</layer>\n</project>",
       6, "a <key> needs a number as its t"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"1\">\n"
       "<param name=\"alpha\" value=\"1\">\n<key t=\"0\" value=\"1\"/>\n</param>\n</effect>\n</layer>\n</project>",
       4, "a parameter has a value or keys, not both"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_bmp\" start=\"0\" length=\"1\">\n"
       "<param name=\"data\" value=\"logo\"/>\n</effect>\n</layer>\n</project>",
       4, "no data item is named 'logo'"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"0\"/>\n</layer>\n</project>", 3,
       "the effect needs a length above 0"},
      {"<project>\n<data name=\"a\" path=\"a.png\"/>\n<data name=\"a\" path=\"b.png\"/>\n</project>", 3,
       "data item 'a' is declared twice"},
      {"<project>\n<track/>\n</project>", 2, "only <soundtrack>, <data> and <layer> elements belong in <project>"},
      {"<project>\n<layer>\nloose text\n</layer>\n</project>", 3, "only <effect> elements belong in <layer>"},
      {"<project>\n<layer>\n<effect type=\"fx_simple_color\" start=\"0\" length=\"1\"/>\n</layer>\n", 5,
       "malformed XML: unexpected end of data"},
  };
  for (const Case& c : cases) {
    const std::string path = player_files::write(folder, "demo.xml", c.text);
    ProjectFile project;
    LoadError error;
    EXPECT_FALSE(project.load(path, library, error)) << c.text;
    EXPECT_EQ(error.message(), path + ":" + std::to_string(c.line) + ": " + c.problem) << c.text;
    EXPECT_TRUE(project.layers.empty() && project.data.empty() && project.text.empty());
  }
  // The parser recurses per level; quoted "/>" and comments must not hide a level.
  std::string deep = "<project>\n";
  for (int i = 0; i < 40; ++i) deep += "<a x='/>'><!-- </a> -->\n";
  const std::string deepPath = player_files::write(folder, "deep.xml", deep);
  ProjectFile deepProject;
  LoadError deepError;
  EXPECT_FALSE(deepProject.load(deepPath, library, deepError));
  EXPECT_EQ(deepError.message(), deepPath + ":33: elements nest deeper than 32 levels");

  // A 0 byte would hide what follows it from the parser.
  const std::string path = player_files::write(folder, "zero.xml", std::string("<project>\n\0</project>", 21));
  ProjectFile project;
  LoadError error;
  EXPECT_FALSE(project.load(path, library, error));
  EXPECT_EQ(error.message(), path + ":2: a 0 byte is not XML");
}

TEST(HostProject, DataFilesThatAreMissingOrUnloadableStopAtTheirLine) {
  const std::string folder = player_files::scratchFolder("project_data");
  const EffectLibrary library = testLibrary(folder);
  player_files::write(folder, "notes.txt", "not a picture");
  struct Case {
    const char* text;
    int line;
    std::string problem;
  };
  const Case cases[] = {
      {"<project>\n<data name=\"logo\" path=\"absent.png\"/>\n</project>", 2,
       "cannot find the data file '" + folder + "\\absent.png'"},
      {"<project>\n<data name=\"notes\" path=\"notes.txt\"/>\n</project>", 2,
       "the driver cannot load the data file '" + folder + "\\notes.txt'"},
      {"<project>\n\n<soundtrack path=\"song.mp3\"/>\n</project>", 3,
       "cannot find the soundtrack '" + folder + "\\song.mp3'"},
  };
  for (const Case& c : cases) {
    const std::string path = player_files::write(folder, "demo.xml", c.text);
    ProjectFile file;
    LoadError error;
    ASSERT_TRUE(file.load(path, library, error)) << error.message();
    HostProject project(tstest::hostSide(theDriver));
    EXPECT_FALSE(project.build(file, library, error));
    EXPECT_EQ(error.message(), path + ":" + std::to_string(c.line) + ": " + c.problem);
    EXPECT_EQ(project.count(), 0u);
    EXPECT_EQ(project.soundtrackPath(), "");
    EXPECT_EQ(theDriver.controllerFactory, nullptr);
  }
}

}  // namespace
