#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <string>

#include "gfxhelper/image_decode.h"
#include "platform/png_write.h"
#include "player/host/child_program.h"
#include "player/host/frame_writer.h"
#include "scenebuild/scene_builder.h"
#include "tests/device/test_device.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/player/player_files.h"
#include "tests/renderers/effect_sources.h"
#include "tests/sound/test_sounds.h"

namespace {

// The file's bytes.
std::string readFile(const std::string& path) {
  std::string bytes;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
      bytes += static_cast<char>(c);
    std::fclose(file);
  }
  return bytes;
}

// The exit code of tsplay.exe (or another program of the build) run from the folder that holds
// it, as the host is, so that the driver's library path reaches the library beside it; its error
// stream, by a file in `scratch`, in `err`.
DWORD runTsplay(const std::string& arguments, const std::string& scratch, std::string& err,
                const char* program = "tsplay.exe") {
  const std::string bin = player_files::binaryFolder();
  // A run that waits on something, a box nobody sees, fails instead of hanging the test.
  const host::ProgramRun run =
      host::runProgram("\"" + bin + "\\" + program + "\" " + arguments, bin, scratch + "\\stderr.txt", false, 60000);
  err = run.errors;
  return run.started ? run.exitCode : 0xffffffff;
}

// 0xRRGGBB of the pixel at (x, y) of a PNG file; ~0 when there is none.
uint32_t pngPixel(const std::string& path, uint32_t x, uint32_t y) {
  const std::string data = readFile(path);
  gfximage::DecodedImage image;
  if (!gfximage::decode(data.data(), data.size(), &image).ok() || image.levels.empty() || x >= image.levels[0].width ||
      y >= image.levels[0].height)
    return ~0u;
  const uint8_t* texel = image.levels[0].texel(x, y);
  return 0xFF000000u | texel[2] << 16 | texel[1] << 8 | texel[0];
}

// Frames written on three workers are the files one encoding in this thread makes, each
// under its own name; a frame that can't be written is named by finish().
TEST(FrameWriter, WritesTheFilesOfTheEncoderAloneAndNamesAFailure) {
  const std::string folder = player_files::scratchFolder("frame_writer");
  const auto fill = [](int i, host::Frame& frame) {
    frame.width = 40u + static_cast<unsigned int>(i);
    frame.height = 30;
    frame.pixels.resize(frame.width * frame.height);
    for (size_t p = 0; p < frame.pixels.size(); ++p) frame.pixels[p] = static_cast<uint32_t>(p * static_cast<size_t>(i + 1) * 0x9E3779B1u);
  };
  const auto path = [&](int i) { return folder + (i < 7 ? "\\" : "\\missing\\") + std::to_string(i) + ".png"; };
  std::string failed;
  {
    host::FrameWriter writer(3);
    for (int i = 0; i < 8; ++i) {
      fill(i, writer.next());
      writer.write(path(i));
    }
    EXPECT_FALSE(writer.finish(failed));
  }
  EXPECT_EQ(failed, path(7));
  for (int i = 0; i < 7; ++i) {
    host::Frame frame;
    fill(i, frame);
    const int width = static_cast<int>(frame.width);
    const std::vector<uint8_t> png = platform::encodePng(width, static_cast<int>(frame.height), frame.pixels.data(), width * 4);
    EXPECT_EQ(readFile(path(i)), std::string(png.begin(), png.end())) << i;
  }
}

TEST(Tsplay, PlaysLayersOfColourAndAKeyedFadeIntoFramesAndASheet) {
  const std::string scratch = player_files::scratchFolder("tsplay_play");
  const std::string frames = player_files::scratchFolder("tsplay_play\\frames");
  // Red, then green, below; blue fading in over red by a keyed alpha above.
  const std::string project = player_files::write(scratch, "play.xml", R"(<project>
  <layer>
    <effect type="fx_simple_color" start="0" length="2"><param name="red" value="1"/></effect>
    <effect type="fx_simple_color" start="2" length="1"><param name="green" value="1"/></effect>
  </layer>
  <layer>
    <effect type="fx_simple_color" start="0" length="2"><param name="blue" value="1"/>
      <param name="alpha"><key t="0" value="0"/><key t="1" value="1"/></param>
      <param name="destBlend" value="2"/><param name="srcBlend" value="3"/></effect>
  </layer>
</project>
)");
  const std::string sheet = scratch + "\\sheet.png";
  const std::string options = " --from 0 --to 2 --fps 2 --size 64x48 --contact-sheet \"" + sheet + "\"";
  std::string err;
  ASSERT_EQ(runTsplay("\"" + project + "\" --offline \"" + frames + "\"" + options, scratch, err), 0u) << err;
  const int expected[5][3] = {{255, 0, 0}, {191, 0, 64}, {128, 0, 128}, {64, 0, 191}, {0, 255, 0}};
  for (int i = 0; i < 5; ++i) {
    const std::string frame = frames + "\\frame_0000" + std::to_string(i) + ".png";
    const auto [r, g, b] = expected[i];
    for (auto [x, y] : {std::pair{0u, 0u}, {32u, 24u}, {63u, 47u}})
      EXPECT_TRUE(tstest::pixelNear(pngPixel(frame, x, y), r, g, b)) << frame << " " << x << ", " << y;
    // The sheet: cells of 160 x 120 with a 4-pixel border, four to a row, in frame order.
    EXPECT_TRUE(tstest::pixelNear(pngPixel(sheet, 4 + i % 4 * 164 + 80, 4 + i / 4 * 124 + 60), r, g, b)) << i;
  }
  EXPECT_EQ(pngPixel(frames + "\\frame_00005.png", 0, 0), ~0u) << "five frames and no more";
  EXPECT_EQ(pngPixel(sheet, 4 + 164 + 80, 4 + 124 + 60), 0xFF202020u) << "the sixth place stays empty and dark";
}

TEST(Tsplay, CrossFadesBetweenTheInputsOfATransition) {
  const std::string scratch = player_files::scratchFolder("tsplay_fade"), frames = scratch + "\\frames";
  const std::string project = player_files::write(scratch, "fade.xml", R"(<project>
  <layer><transition type="fx_trans_blend" start="0" length="1">
    <param name="progress"><key t="0" value="0"/><key t="1" value="1"/></param>
    <input><layer><effect type="fx_simple_color" start="0" length="1"><param name="red" value="1"/></effect></layer></input>
    <input><layer><effect type="fx_simple_color" start="0" length="1"><param name="blue" value="1"/></effect></layer></input>
  </transition></layer>
</project>
)");
  std::string err;
  ASSERT_EQ(runTsplay("\"" + project + "\" --offline \"" + frames + "\" --to 0.5 --fps 4", scratch, err), 0u) << err;
  // Frames at 0, 0.25 and 0.5 s: the middle one is red over blue at alpha 0.75. The fills take
  // the size of the target at update, before any capture: the surface's 640 x 480 here.
  const uint32_t middle = pngPixel(frames + "\\frame_00001.png", 320, 240);
  EXPECT_TRUE(tstest::pixelNear(middle, 191, 0, 64)) << std::hex << middle;
}

TEST(Tsplay, DriverBoxesAndUndecodableImagesBecomeLinesOnStderrOffline) {
  const std::string scratch = player_files::scratchFolder("tsplay_notices"), frames = scratch + "\\frames";
  // A PNG cut inside its header: the driver keeps the item without a picture. A scene of one
  // empty chunk whose code no reader knows: the driver raises a box, and the scene stops the run.
  const std::string image = player_files::write(scratch, "cut.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
  player_files::write(scratch, "scene.ts2", std::string("NONEZZZZ\1\0\0\0\0\0\0\0", 16));
  const std::string project = player_files::write(
      scratch, "notices.xml",
      "<project>\n  <data name=\"cut\" path=\"cut.png\"/>\n  <data name=\"scene\" path=\"scene.ts2\"/>\n</project>\n");
  std::string err;
  EXPECT_EQ(runTsplay("\"" + project + "\" --offline \"" + frames + "\" --to 1", scratch, err), 1u);
  // One line a box, then the warning, then what stopped the run.
  const std::string box = "tsplay: TracerDefault::Box: TSIO : Unknown chunk read : ZZZZ, version : 1, size : 0\n";
  const std::string warning = "tsplay: " + project + ":2: warning: cannot decode the image '" + image + "'\n";
  const std::string stop =
      "tsplay: " + project + ":3: the driver cannot load the data file '" + scratch + "\\scene.ts2'\n";
  EXPECT_EQ(err, box + warning + stop);
  EXPECT_EQ(GetFileAttributesA(frames.c_str()), INVALID_FILE_ATTRIBUTES) << "nothing is written";
}

TEST(Tsplay, PlaysAnEffectFileBesideTheSceneAndAGradeFromTheModulesSource) {
  const std::string scratch = player_files::scratchFolder("tsplay_effect"), frames = scratch + "\\frames";
  scenebuild::SceneBuilder builder;
  ts3d::HierarchyNode* eye = builder.node(builder.root(), ts3d::vect3(0, -10, 0));
  builder.aim(eye, builder.root());
  builder.camera(eye, 0.9f);
  const std::string effect = player_files::write(scratch, "tint.fx", tstest::kTwoTechniques);
  builder.mesh(builder.root(), scenebuild::box(4, 4, 4), builder.effectMaterial(effect, builder.material({})));
  std::string error;
  ASSERT_TRUE(builder.write(scratch + "\\scene.ts2", 0, &error)) << error;
  // Red inverted, green and blue kept: the grade's lookup, one row.
  uint8_t curves[256 * 3];
  for (int i = 0; i < 256; ++i) {
    curves[i * 3] = static_cast<uint8_t>(255 - i);
    curves[i * 3 + 1] = curves[i * 3 + 2] = static_cast<uint8_t>(i);
  }
  const tstest::Bytes lookup = tstest::encodePng(256, 1, 3, curves);
  player_files::write(scratch, "invert.png", std::string(lookup.begin(), lookup.end()));
  const char* const projects[2][2] = {
      {"effect.xml", R"(<project>
  <data name="scene" path="scene.ts2"/>
  <layer><effect type="fx_simple_scene" start="0" length="1"><param name="data" value="scene"/></effect></layer>
</project>
)"},
      {"graded.xml", R"(<project>
  <data name="scene" path="scene.ts2"/>
  <data name="invert" path="invert.png"/>
  <layer><effect type="fx_simple_scene" start="0" length="1"><param name="data" value="scene"/></effect></layer>
  <layer><effect type="fx_sr_channels" start="0" length="1">
    <param name="scene" value="scene"/><param name="lookup" value="invert"/><param name="offset" value="0.5"/>
  </effect></layer>
</project>
)"}};
  // The box shows the shader's green and the corners the clear colour's blue; graded through
  // the module's own effect source, red turns full in both.
  const int expected[2][2][3] = {{{0, 255, 0}, {0, 0, 255}}, {{255, 255, 0}, {255, 0, 255}}};
  for (int p = 0; p < 2; ++p) {
    const std::string project = player_files::write(scratch, projects[p][0], projects[p][1]);
    std::string err;
    ASSERT_EQ(runTsplay("\"" + project + "\" --offline \"" + frames + "\" --size 64x48", scratch, err), 0u) << err;
    const std::string frame = frames + "\\frame_00000.png";
    const uint32_t box = pngPixel(frame, 32, 24), corner = pngPixel(frame, 0, 0);
    EXPECT_TRUE(tstest::pixelNear(box, expected[p][0][0], expected[p][0][1], expected[p][0][2]))
        << projects[p][0] << std::hex << " " << box;
    EXPECT_TRUE(tstest::pixelNear(corner, expected[p][1][0], expected[p][1][1], expected[p][1][2]))
        << projects[p][0] << std::hex << " " << corner;
  }
}

TEST(Tsplay, WritesTheSoundtrackOfTheRenderedSpanToTheSample) {
  const std::string scratch = player_files::scratchFolder("tsplay_audio"), frames = scratch + "\\frames";
  // Two seconds of stereo whose every frame tells its number.
  constexpr int kRate = 44100, kRamp = 30000;
  tstest::Samples ramp(2 * 2 * kRate);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<int16_t>(i / 2 % kRamp);
  const tstest::Bytes song = tstest::wavFile(ramp, 2, kRate, 16, false);
  player_files::write(scratch, "song.wav", std::string(song.begin(), song.end()));
  const std::string project = player_files::write(scratch, "song.xml", R"(<project>
  <soundtrack path="song.wav"/>
  <layer><effect type="fx_simple_color" start="0" length="3"/></layer>
</project>
)");
  const std::string audio = scratch + "\\span.wav";
  std::string err;
  ASSERT_EQ(runTsplay("\"" + project + "\" --offline \"" + frames + "\" --from 0.5 --to 2.5 --fps 10 --size 64x48 --audio \"" +
                          audio + "\"",
                      scratch, err),
            0u)
      << err;
  // 21 frames of a tenth of a second: 2.1 s from 0.5 s, of which the song fills 1.5 s.
  constexpr size_t kHeader = 44, kFrameBytes = 4, kSpan = 21 * kRate / 10, kHeard = 3 * kRate / 2;
  const std::string wav = readFile(audio);
  ASSERT_GE(wav.size(), kHeader);
  EXPECT_NEAR(static_cast<double>(wav.size() - kHeader) / kFrameBytes, kSpan, 1.0);
  const auto left = [&](size_t frame) {
    const size_t at = kHeader + frame * kFrameBytes;
    return at + 1 < wav.size() ? static_cast<int16_t>(static_cast<uint8_t>(wav[at]) | static_cast<uint8_t>(wav[at + 1]) << 8)
                               : int16_t{-1};
  };
  EXPECT_EQ(left(0), kRate / 2) << "starts at 0.5 s";
  EXPECT_EQ(left(kHeard - 1), (kRate / 2 + kHeard - 1) % kRamp) << "the song's last frame";
  EXPECT_EQ(left(kHeard), 0) << "silence after it";
}

TEST(Tsplay, AnExportedAnimationPlaysLikeItsProjectWithoutItsFiles) {
  const std::string scratch = player_files::scratchFolder("tsplay_export"), bundle = scratch + "\\default.stfx";
  std::string err;
  ASSERT_EQ(runTsplay("\"" + scratch + "\"", scratch, err, "make_default_project.exe"), 0u) << err;
  const std::string frames = " --from 1 --to 15 --fps 0.25 --offline \"" + scratch;  // four frames across the timeline
  const std::string project = "\"" + scratch + "\\default.xml\"";
  ASSERT_EQ(runTsplay(project + " --export \"" + bundle + "\"" + frames + "\\made\"", scratch, err), 0u) << err;
  for (const char* source :
       {"default.xml", "default.ts2", "bloomed.ts2", "graded.ts2", "lens.ts2", "title.png", "grade.png"})
    ASSERT_TRUE(DeleteFileA((scratch + "\\" + source).c_str())) << source;
  ASSERT_EQ(runTsplay("\"" + bundle + "\"" + frames + "\\played\"", scratch, err), 0u) << err;
  for (int i = 0; i < 4; ++i) {
    const std::string frame = "\\frame_0000" + std::to_string(i) + ".png", made = readFile(scratch + "\\made" + frame);
    EXPECT_FALSE(made.empty());
    EXPECT_TRUE(made == readFile(scratch + "\\played" + frame)) << frame;
  }
  // Without its soundtrack it plays silent, with one warning.
  ASSERT_TRUE(DeleteFileA((scratch + "\\tune.wav").c_str()));
  ASSERT_EQ(runTsplay("\"" + bundle + "\" --to 0 --offline \"" + scratch + "\\silent\"", scratch, err), 0u) << err;
  const std::string warning =
      bundle + ":4: warning: cannot find the soundtrack '" + scratch + "\\tune.wav': playing without sound\n";
  const size_t at = err.find(warning);
  EXPECT_NE(at, std::string::npos) << err;
  EXPECT_EQ(err.find("warning", at + warning.size()), std::string::npos) << "one warning: " << err;
  // Cut, or with a bit of the root's size flipped, it stops tsplay with a message.
  const std::string whole = readFile(bundle);
  std::string flipped = whole;
  flipped[15] ^= 0x40;
  for (const std::string& damaged : {whole.substr(0, whole.size() / 2), flipped}) {
    player_files::write(scratch, "default.stfx", damaged);
    EXPECT_EQ(runTsplay("\"" + bundle + "\" --to 0 --offline \"" + scratch + "\\damaged\"", scratch, err), 1u);
    EXPECT_NE(err.find("tsplay: " + bundle + ": the driver cannot read the animation\n"), std::string::npos) << err;
  }
}

}  // namespace
