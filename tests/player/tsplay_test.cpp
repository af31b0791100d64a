#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "gfxhelper/image_decode.h"
#include "tests/player/player_files.h"

namespace {

struct Outcome {
  DWORD exitCode = 0xffffffff;
  std::string out;
  std::string err;
};

std::string readBytes(const std::string& path) {
  std::string bytes;
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return bytes;
  char chunk[4096];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) bytes.append(chunk, got);
  std::fclose(file);
  return bytes;
}

// The child's streams are in text mode: line ends become "\n".
std::string readText(const std::string& path) {
  std::string text;
  for (char c : readBytes(path))
    if (c != '\r') text += c;
  return text;
}

HANDLE createOutput(const std::string& path) {
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

// tsplay.exe run from the folder that holds it, as the host is, so that the
// driver's library path reaches the library beside it; its streams go to files in
// `scratch`.
Outcome runTsplay(const std::string& arguments, const std::string& scratch) {
  Outcome run;
  const std::string bin = player_files::binaryFolder();
  const std::string outPath = scratch + "\\stdout.txt", errPath = scratch + "\\stderr.txt";
  HANDLE out = createOutput(outPath), err = createOutput(errPath);
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = out;
  startup.hStdError = err;
  std::string command = "\"" + bin + "\\tsplay.exe\" " + arguments;
  std::vector<char> line(command.begin(), command.end());
  line.push_back('\0');
  PROCESS_INFORMATION process = {};
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, bin.c_str(), &startup, &process)) {
    // A run that waits on something, a box nobody sees, fails instead of hanging the test.
    if (WaitForSingleObject(process.hProcess, 60000) == WAIT_OBJECT_0)
      GetExitCodeProcess(process.hProcess, &run.exitCode);
    else
      TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(out);
  CloseHandle(err);
  run.out = readText(outPath);
  run.err = readText(errPath);
  return run;
}

bool folderExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// R, G, B of the pixel at (x, y) of a PNG frame.
struct Rgb {
  int r = -1, g = -1, b = -1;
};

Rgb framePixel(const std::string& path, uint32_t x, uint32_t y) {
  const std::string data = readBytes(path);
  gfximage::DecodedImage image;
  if (!gfximage::decode(data.data(), data.size(), &image).ok() || image.levels.empty()) return {};
  const gfximage::Image& level = image.levels[0];
  if (x >= level.width || y >= level.height) return {};
  const uint8_t* texel = level.texel(x, y);
  return {texel[2], texel[1], texel[0]};
}

void expectNear(const Rgb& actual, int r, int g, int b, const std::string& frame) {
  EXPECT_NEAR(actual.r, r, 3) << frame;
  EXPECT_NEAR(actual.g, g, 3) << frame;
  EXPECT_NEAR(actual.b, b, 3) << frame;
}

TEST(Tsplay, PlaysLayersOfColourAndAKeyedFadeIntoWholeFrames) {
  const std::string scratch = player_files::scratchFolder("tsplay_fade");
  const std::string frames = player_files::scratchFolder("tsplay_fade\\frames");
  // Red, then green, below; blue fading in over red by a keyed alpha above.
  const std::string project = player_files::write(scratch, "fade.xml", R"(<project>
  <layer>
    <effect type="fx_simple_color" name="red" start="0" length="2">
      <param name="red" value="1"/>
    </effect>
    <effect type="fx_simple_color" name="green" start="2" length="1">
      <param name="green" value="1"/>
    </effect>
  </layer>
  <layer>
    <effect type="fx_simple_color" name="fade" start="0" length="2">
      <param name="blue" value="1"/>
      <param name="alpha"><key t="0" value="0"/><key t="1" value="1"/></param>
      <param name="destBlend" value="2"/>
      <param name="srcBlend" value="3"/>
    </effect>
  </layer>
</project>
)");
  const std::string sheet = scratch + "\\sheet.png";
  const Outcome run = runTsplay("\"" + project + "\" --offline \"" + frames +
                                    "\" --from 0 --to 2 --fps 2 --size 64x48 --contact-sheet \"" + sheet + "\"",
                                scratch);
  ASSERT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_NE(run.out.find("5 frames written"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("contact sheet: " + sheet), std::string::npos) << run.out;
  EXPECT_EQ(player_files::countFiles(frames), 5) << "five whole frames and no partial file";
  struct Expected {
    const char* name;
    int r, g, b;
  };
  const Expected expected[] = {{"frame_00000.png", 255, 0, 0},
                               {"frame_00001.png", 191, 0, 64},
                               {"frame_00002.png", 128, 0, 128},
                               {"frame_00003.png", 64, 0, 191},
                               {"frame_00004.png", 0, 255, 0}};
  for (const Expected& frame : expected) {
    const std::string path = frames + "\\" + frame.name;
    expectNear(framePixel(path, 32, 24), frame.r, frame.g, frame.b, frame.name);
    expectNear(framePixel(path, 0, 0), frame.r, frame.g, frame.b, frame.name);
    expectNear(framePixel(path, 63, 47), frame.r, frame.g, frame.b, frame.name);
  }
  // The contact sheet: five cells of 160 x 120 with a 4-pixel border, four to a row, in
  // frame order; the grid has two rows, and the sixth place stays empty and dark.
  for (int cell = 0; cell < 5; ++cell) {
    const uint32_t x = 4 + static_cast<uint32_t>(cell % 4) * 164 + 80, y = 4 + static_cast<uint32_t>(cell / 4) * 124 + 60;
    expectNear(framePixel(sheet, x, y), expected[cell].r, expected[cell].g, expected[cell].b, "sheet cell");
  }
  expectNear(framePixel(sheet, 4 + 164 + 80, 4 + 124 + 60), 32, 32, 32, "sheet, empty place");
  expectNear(framePixel(sheet, 2, 2), 32, 32, 32, "sheet, border");
  EXPECT_EQ(framePixel(sheet, 659, 251).r, 32);
  EXPECT_EQ(framePixel(sheet, 660, 251).r, -1) << "the sheet is 660 x 252";
}

TEST(Tsplay, DrawsAnImageDataItemNamedByItsParameter) {
  const std::string scratch = player_files::scratchFolder("tsplay_image");
  const std::string frames = player_files::scratchFolder("tsplay_image\\frames");
  player_files::write(scratch, "tile.bmp", player_files::solidBmp(8, 8, 40, 160, 220));
  // The item's path is relative to the project; the picture covers the left half
  // of a dark green ground.
  const std::string project = player_files::write(scratch, "image.xml", R"(<project>
  <data name="tile" path="tile.bmp"/>
  <layer>
    <effect type="fx_simple_color" start="0" length="1">
      <param name="green" value="0.5"/>
    </effect>
  </layer>
  <layer>
    <effect type="fx_simple_bmp" start="0" length="1">
      <param name="data" value="tile"/>
      <param name="right" value="0.32"/>
    </effect>
  </layer>
</project>
)");
  const Outcome run = runTsplay("\"" + project + "\" --offline \"" + frames + "\" --size 64x48", scratch);
  ASSERT_EQ(run.exitCode, 0u) << run.err;
  const std::string frame = frames + "\\frame_00000.png";
  expectNear(framePixel(frame, 8, 24), 40, 160, 220, "left half");
  expectNear(framePixel(frame, 56, 24), 0, 128, 0, "right half, the ground");
}

TEST(Tsplay, ProjectsThatCannotPlayStopWithOneMessageAndNoFrames) {
  const std::string scratch = player_files::scratchFolder("tsplay_errors");
  struct Case {
    const char* name;
    const char* text;
    int line;
    std::string problem;
  };
  const Case cases[] = {
      {"badxml.xml", "<project>\n  <layer>\n  </layr>\n</project>\n", 3, "malformed XML: invalid closing tag name"},
      {"unknown.xml",
       "<project>\n  <layer>\n    <effect type=\"fx_simple_colour\" start=\"0\" length=\"1\"/>\n  </layer>\n</project>\n",
       3, "unknown effect 'fx_simple_colour'"},
      {"nodata.xml", "<project>\n  <data name=\"logo\" path=\"logo.png\"/>\n</project>\n", 2,
       "cannot find the data file '" + scratch + "\\logo.png'"},
  };
  for (const Case& c : cases) {
    const std::string frames = scratch + "\\frames_" + c.name;
    RemoveDirectoryA(frames.c_str());
    const std::string project = player_files::write(scratch, c.name, c.text);
    const Outcome run = runTsplay("--offline \"" + frames + "\" --to 1 \"" + project + "\"", scratch);
    EXPECT_EQ(run.exitCode, 1u) << c.name;
    EXPECT_EQ(run.err, "tsplay: " + project + ":" + std::to_string(c.line) + ": " + c.problem + "\n") << c.name;
    EXPECT_FALSE(folderExists(frames)) << c.name << ": nothing is written";
  }
}

TEST(Tsplay, DriverBoxesAndUndecodableImagesBecomeLinesOnStderrOffline) {
  const std::string scratch = player_files::scratchFolder("tsplay_notices");
  // A PNG cut inside its header: the driver keeps the item without a picture.
  const std::string image = player_files::write(scratch, "cut.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
  struct Case {
    std::string scene;
    std::string expected;
  };
  const Case cases[] = {
      // One empty chunk whose code no reader knows: the driver raises a box.
      {std::string("NONEZZZZ\1\0\0\0\0\0\0\0", 16), "tsplay: TracerDefault::Box: TSIO : Unknown chunk read : ZZZZ"},
      {"JUNKJUNK", "begins with neither \"NONE\" nor \"IOBZ\""},
  };
  for (const Case& c : cases) {
    player_files::write(scratch, "scene.ts2", c.scene);
    const std::string project = player_files::write(
        scratch, "notices.xml",
        "<project>\n  <data name=\"cut\" path=\"cut.png\"/>\n  <data name=\"scene\" path=\"scene.ts2\"/>\n</project>\n");
    const Outcome run = runTsplay("\"" + project + "\" --offline \"" + scratch + "\\frames\" --to 1", scratch);
    EXPECT_EQ(run.exitCode, 1u) << "ends, and the scene stops the run";
    EXPECT_NE(run.err.find(c.expected), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("tsplay: " + project + ":2: warning: cannot decode the image '" + image + "'\n"),
              std::string::npos)
        << run.err;
  }
}

TEST(Tsplay, HelpDescribesBothModes) {
  const std::string scratch = player_files::scratchFolder("tsplay_help");
  const Outcome run = runTsplay("--help", scratch);
  EXPECT_EQ(run.exitCode, 0u);
  for (const char* option : {"--offline DIR", "--from", "--to", "--fps", "--size", "--live", "PROJECT"})
    EXPECT_NE(run.out.find(option), std::string::npos) << option;
  const Outcome wrong = runTsplay("--fps", scratch);
  EXPECT_EQ(wrong.exitCode, 2u);
  EXPECT_NE(wrong.err.find("unknown or incomplete argument '--fps'"), std::string::npos) << wrong.err;
}

}  // namespace
