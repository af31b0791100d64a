#include <gtest/gtest.h>

#include <string>

#include "io/trace.h"
#include "tests/support/recording_tracer.h"

namespace {

TEST(TracerDefault, BoxesCarryTitleStyleAndTextCutAtTheBuffer) {
  tstest::RecordingMessageBoxes boxes;
  trace::Tracer* previous = trace::setTracer(nullptr);
  traceBox("Bad Chunk : %c, %c, %c, %c", 'S', 'C', 'H', 'E');
  traceWarnIf(false, "hidden %d", 1);
  traceWarnIf(true, "No scene data for effect.");
  traceBox("%s", std::string(20000, 'x').c_str());
  const auto& shown = tstest::RecordingMessageBoxes::boxes();
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_EQ(shown[0].text, "Bad Chunk : S, C, H, E");
  EXPECT_EQ(shown[0].title, "TracerDefault::Box");
  EXPECT_EQ(shown[0].style, 48u);
  EXPECT_EQ(shown[1].title, "TracerDefault::Warn");
  EXPECT_EQ(shown[1].style, 64u);
  EXPECT_EQ(shown[2].text.size(), trace::TracerDefault::kBufferSize - 1);
  delete trace::setTracer(previous);
}

}  // namespace
