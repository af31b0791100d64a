// ts2 as a user runs it: the binary on files that our own writer made, its output read back.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "scene/controller/const.h"
#include "scene/controller/op.h"
#include "tests/support/test_chunks.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;
using ts3d::color;
using ts3d::controller::Const;
using ColorOp = ts3d::controller::Op<color, color, float>;

std::string contents(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void write(const fs::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

// The words of a text with single spaces between them, so that columns need not be counted.
std::string words(const std::string& text) {
  std::istringstream in(text);
  std::string result, word;
  while (in >> word) result += word + " ";
  return result;
}

struct Outcome {
  int status;
  std::string out, err;  // err's words only
};

class Ts2 : public testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(folder);
    fs::create_directories(folder);
  }
  void TearDown() override { fs::remove_all(folder); }

  // A sanitizer's report must not pass for the tool's own exit status 1.
  Outcome ts2(const std::string& arguments) const {
    const std::string command = "cd '" + folder.string() + "' && ASAN_OPTIONS=exitcode=86 '" TS2_BINARY "' " +
                                arguments + " >out.txt 2>err.txt";
    const int raw = std::system(command.c_str());
    return {raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, contents(folder / "out.txt"),
            words(contents(folder / "err.txt"))};
  }

  const fs::path folder = fs::current_path() / "ts2_test";
};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(Ts2, DumpCheckPackAndUnpackAsTheLayoutSays) {
  // The colour operation of the worked layout: multiply, a constant colour, a constant float.
  ColorOp op;
  op.operation = ColorOp::kMultiply;
  op.left = new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f));
  op.right = new Const<float>(0.5f);
  const Bytes plain = tstest::storeToBytes(&op, 0), packed = tstest::storeToBytes(&op, 1);
  ASSERT_EQ(plain.size(), 64u);
  write(folder / "plain.ts2", plain);

  // Offset, version, id, body size and code of each chunk; offsets of a packed file are those
  // of its unpacked stream, 4 less.
  Outcome run = ts2("dump plain.ts2");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(contains(words(run.out), "4 1 0 48 CoCF 20 1 1 16 CCCO 48 1 2 4 CCFL 3 chunks, 0 references, depth 2"))
      << run.out;
  run = ts2("check plain.ts2");
  EXPECT_EQ(run.out, "plain.ts2: ok: NONE, 3 chunks, 0 references, depth 2, an object stream of 60 bytes\n");

  ASSERT_EQ(ts2("pack plain.ts2 packed.ts2").status, 0);
  EXPECT_EQ(contents(folder / "packed.ts2"), std::string(packed.begin(), packed.end())) << "as our own writer packs";
  run = ts2("dump packed.ts2");
  EXPECT_TRUE(contains(words(run.out), "0 1 0 48 CoCF 16 1 1 16 CCCO 44 1 2 4 CCFL")) << run.out;
  ASSERT_EQ(ts2("unpack packed.ts2 again.ts2").status, 0);
  EXPECT_EQ(contents(folder / "again.ts2"), contents(folder / "plain.ts2"));

  // Refusals: the input as output, a file already packed, a truncation named where the data ends.
  run = ts2("pack plain.ts2 plain.ts2");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(contains(run.err, "overwrite")) << run.err;
  EXPECT_EQ(ts2("pack packed.ts2 out.ts2").status, 1);
  EXPECT_FALSE(fs::exists(folder / "out.ts2"));
  write(folder / "cut.ts2", Bytes(plain.begin(), plain.end() - 2));
  run = ts2("check cut.ts2");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(contains(run.err, "cut.ts2: offset 62: truncated")) << run.err;
  EXPECT_TRUE(contains(run.err, "CCFL (id 2) at offset 48")) << run.err;
  EXPECT_EQ(contents(folder / "plain.ts2"), std::string(plain.begin(), plain.end()));

  // A graph with links: each stored object once, each later use a reference.
  std::unique_ptr<tstest::Node> graph(tstest::makeSampleGraph());
  write(folder / "graph.ts2", tstest::storeToBytes(graph.get(), 0));
  EXPECT_TRUE(contains(ts2("check graph.ts2").out, "6 chunks, 4 references")) << ts2("check graph.ts2").out;

  run = ts2("frobnicate");
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(contains(run.err, "usage: ts2")) << run.err;
}

}  // namespace
