#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "io/chunk_registry.h"
#include "io/stream_memory.h"
#include "tests/support/recording_tracer.h"

// This program registers no class statically, so the registry starts and ends empty.
namespace {

class Base {
 public:
  virtual ~Base() = default;
  int padding = 1;
};

// Serializable as a second base, and a load that refuses everything.
class Refusing : public Base, public tsio::Serializable {
 public:
  bool load(tsio::InStream&) override {
    ++loads;
    return false;
  }
  void store(tsio::OutStream& out) override { out.beginChunk(tsio::fourCC("cASM"), 1); }
  int loads = 0;
};

TEST(ChunkRegistry, WithoutRegistrersThereIsNoTable) {
  EXPECT_EQ(tsio::chunkRegistry(), nullptr);
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("SCHE")), nullptr);
  EXPECT_EQ(tsio::chunkRegistry(), nullptr);  // a lookup makes no table
}

TEST(ChunkRegistry, LookupsShareTheOneRegistrerAndCodesAreWholeWords) {
  tstest::RecordingTracer tracer;
  tsio::ChunkRegistrer<Refusing> registrer(tsio::fourCC("cASM"));
  EXPECT_EQ(tracer.texts('l'), std::vector<std::string>{"Registred chunk : c, A, S, M"});
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("cASM")), &registrer);
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("cASM")), &registrer);
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("CASM")), nullptr);
  EXPECT_EQ(registrer.code, 0x4D534163u);
}

TEST(ChunkRegistry, LastUnregistrationDeletesTheTableAndTheNextMakesANewOne) {
  {
    tsio::ChunkRegistrer<Refusing> first(tsio::fourCC("AAAA"));
    {
      tsio::ChunkRegistrer<Refusing> second(tsio::fourCC("BBBB"));
      ASSERT_NE(tsio::chunkRegistry(), nullptr);
      EXPECT_EQ(tsio::chunkRegistry()->size(), 2u);
    }
    ASSERT_NE(tsio::chunkRegistry(), nullptr);
    EXPECT_EQ(tsio::findChunk(tsio::fourCC("BBBB")), nullptr);
    EXPECT_EQ(tsio::findChunk(tsio::fourCC("AAAA")), &first);
  }
  EXPECT_EQ(tsio::chunkRegistry(), nullptr);
  tsio::ChunkRegistrer<Refusing> again(tsio::fourCC("AAAA"));
  ASSERT_NE(tsio::chunkRegistry(), nullptr);
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("AAAA")), &again);
}

TEST(ChunkRegistry, SecondRegistrationOfACodeReplacesTheFirst) {
  tsio::ChunkRegistrer<Refusing> first(tsio::fourCC("DUPL"));
  tsio::ChunkRegistrer<Refusing> second(tsio::fourCC("DUPL"));
  EXPECT_EQ(tsio::findChunk(tsio::fourCC("DUPL")), &second);
  EXPECT_EQ(tsio::chunkRegistry()->size(), 1u);
}

TEST(ChunkRegistrer, CreateGivesTheSerializablePartEvenWhenLoadRefuses) {
  tsio::ChunkRegistrer<Refusing> registrer(tsio::fourCC("cASM"));
  tsio::InStreamMemory in;
  std::unique_ptr<tsio::Serializable> made(registrer.create(in));
  ASSERT_NE(made, nullptr);
  auto* object = dynamic_cast<Refusing*>(made.get());
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->loads, 1);
  // Not the object's first address: Serializable is its second base.
  EXPECT_NE(static_cast<void*>(made.get()), static_cast<void*>(object));
}

}  // namespace
