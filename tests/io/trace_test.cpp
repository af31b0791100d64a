#include <gtest/gtest.h>

#include <string>

#include "io/trace.h"
#include "tests/support/recording_tracer.h"

namespace {

TEST(TracerDefault, BoxesCarryTitleStyleAndFormattedText) {
  tstest::RecordingMessageBoxes boxes;
  trace::Tracer* previous = trace::setTracer(nullptr);

  traceBox("Bad Chunk : %c, %c, %c, %c", 'S', 'C', 'H', 'E');
  traceWarnIf(true, "No scene data for effect.");
  traceWarnIf(false, "hidden %d", 1);
  traceBoxIf(false, "hidden %d", 2);
  traceBoxIf(true, "shown %d", 3);
  traceLog("Store Chunk : %c%c%c%c, Version : %d", 'N', 'O', 'D', 'E', 1);

  const auto& shown = tstest::RecordingMessageBoxes::boxes();
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_EQ(shown[0].text, "Bad Chunk : S, C, H, E");
  EXPECT_EQ(shown[0].title, "TracerDefault::Box");
  EXPECT_EQ(shown[0].style, 48u);
  EXPECT_EQ(shown[1].text, "No scene data for effect.");
  EXPECT_EQ(shown[1].title, "TracerDefault::Warn");
  EXPECT_EQ(shown[1].style, 64u);
  EXPECT_EQ(shown[2].text, "shown 3");

  delete trace::setTracer(previous);
}

TEST(TracerDefault, IsCreatedLazilyAndStaysTheSame) {
  trace::Tracer* previous = trace::setTracer(nullptr);
  trace::Tracer* first = trace::tracer();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(dynamic_cast<trace::TracerDefault*>(first), nullptr);
  EXPECT_EQ(trace::tracer(), first);
  delete trace::setTracer(previous);
}

TEST(TracerDefault, LongMessageIsCutAtTheBufferInsteadOfOverrunningIt) {
  tstest::RecordingMessageBoxes boxes;
  trace::Tracer* previous = trace::setTracer(nullptr);
  std::string huge(20000, 'x');
  traceBox("%s", huge.c_str());
  const auto& shown = tstest::RecordingMessageBoxes::boxes();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].text.size(), trace::TracerDefault::kBufferSize - 1);
  delete trace::setTracer(previous);
}

TEST(RecordingTracer, ConditionalFormsDoNotTouchTheTracerWhenFalse) {
  tstest::RecordingTracer recorder;
  traceBoxIf(false, "a");
  traceWarnIf(false, "b");
  EXPECT_TRUE(recorder.messages.empty());
  traceLog("Registred chunk : %c, %c, %c, %c", 'T', 'E', 'S', 'T');
  ASSERT_EQ(recorder.count('l'), 1u);
  EXPECT_EQ(recorder.texts('l')[0], "Registred chunk : T, E, S, T");
}

}  // namespace
