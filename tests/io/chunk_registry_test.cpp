#include <gtest/gtest.h>

#include "io/chunk_registry.h"

// This program registers no class statically, so the registry starts and ends empty.
namespace {

class Empty : public tsio::Serializable {
 public:
  bool load(tsio::InStream&) override { return true; }
  void store(tsio::OutStream&) override {}
};

TEST(ChunkRegistry, TheTableLivesFromTheFirstRegistrationToTheLastAndALaterCodeReplacesAnEarlier) {
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("AAAA")), nullptr);
  EXPECT_EQ(tsio::chunkRegistry(), nullptr) << "a lookup makes no table";
  {
    tsio::ChunkRegistrer<Empty> first(tsio::fourCC("AAAA"));
    {
      tsio::ChunkRegistrer<Empty> second(tsio::fourCC("AAAA"));
      tsio::ChunkRegistrer<Empty> other(tsio::fourCC("BBBB"));
      EXPECT_EQ(tsio::findChunk(tsio::fourCC("AAAA")), &second);
      EXPECT_EQ(tsio::chunkRegistry()->size(), 2u);
    }
    EXPECT_EQ(tsio::findChunk(tsio::fourCC("BBBB")), nullptr);
  }
  EXPECT_EQ(tsio::chunkRegistry(), nullptr);
}

}  // namespace
