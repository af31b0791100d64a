// ts2 as a user runs it: the binary on files that our own writer made, its output read back.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "io/persistence.h"
#include "io/serializable.h"
#include "scene/controller/const.h"
#include "scene/controller/op.h"
#include "tests/support/test_chunks.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;
using ts3d::color;
using ts3d::controller::Const;
using ColorOp = ts3d::controller::Op<color, color, float>;

// --- Files -----------------------------------------------------------------------------------

void store(tsio::Serializable* root, const std::string& path, int mode) {
  std::unique_ptr<tsio::OutStream> out(tsio::openOutStream(path, mode));
  ASSERT_NE(out, nullptr) << path;
  out->writeObject(root);
}

Bytes readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void putU32(Bytes& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

// The colour operation of the worked layout: operation 5, a constant colour, a constant float.
struct OpExample {
  OpExample() {
    op.operation = ColorOp::kMultiply;
    op.left = new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f));
    op.right = new Const<float>(0.5f);
  }
  ColorOp op;
};

// The same operation with one object in both places: writes CoCF's body as Op does.
class SharedOperandOp : public tsio::Serializable {
 public:
  explicit SharedOperandOp(tsio::Serializable* operand) : shared(operand) {}
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream& out) override {
    out.beginChunk(tsio::fourCC("CoCF"), 1);
    out.writeInt32(5);
    out.writeObject(shared);
    out.writeObject(shared);
  }
  tsio::Serializable* shared;
};

// The smallest scene: the root node without children, target or transformation, and a scene
// with empty lists around it. Each writes the fields of its body in order.
class RootNodeStandIn : public tsio::Serializable {
 public:
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream& out) override {
    out.beginChunk(tsio::fourCC("HINO"), 1);
    out.writeObject(nullptr);  // target
    out.writeObject(nullptr);  // transformation
  }
};

class SmallestSceneStandIn : public tsio::Serializable {
 public:
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream& out) override {
    out.beginChunk(tsio::fourCC("SCHE"), 2);
    out.writeUint32(0);  // textures
    out.writeUint32(0);  // materials
    out.writeObject(&root);
    out.writeUint32(0);        // children of the root
    out.writeUint32(0);        // meshes
    out.writeUint32(0);        // cameras
    out.writeObject(nullptr);  // active camera
    out.writeUint32(0);        // lights
    out.writeObject(nullptr);  // shadow light
    out.writeUint32(0);        // atmospheres
    out.writeUint32(0);        // overlays
    out.writeObject(nullptr);  // background
    out.writeUint32(0);        // renderers
  }
  RootNodeStandIn root;
};

// A chain of chunks, each holding only the next: chunk k stands at offset 4 + 12 k.
class Nest : public tsio::Serializable {
 public:
  explicit Nest(int levels) : child(levels > 1 ? new Nest(levels - 1) : nullptr) {}
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream& out) override {
    out.beginChunk(tsio::fourCC("tNST"), 1);
    out.writeObject(child.get());
  }
  std::unique_ptr<Nest> child;
};

// --- Running the tool ------------------------------------------------------------------------

struct Outcome {
  int status = -1;  // exit status, -1 for a signal
  std::string out;
  std::string err;
};

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct ChunkRow {
  long long offset;
  std::string code;
  int version;
  int id;
  long long size;
  bool operator==(const ChunkRow& other) const {
    return offset == other.offset && code == other.code && version == other.version && id == other.id &&
           size == other.size;
  }
};

struct ReferenceRow {
  long long offset;
  int id;
  bool operator==(const ReferenceRow& other) const { return offset == other.offset && id == other.id; }
};

std::ostream& operator<<(std::ostream& out, const ChunkRow& row) {
  return out << "{" << row.offset << " " << row.code << " v" << row.version << " id " << row.id << " size "
             << row.size << "}";
}
std::ostream& operator<<(std::ostream& out, const ReferenceRow& row) {
  return out << "{" << row.offset << " -> " << row.id << "}";
}

// What dump printed: its first line, its rows and its last line.
struct Dump {
  std::string header;
  std::vector<ChunkRow> chunks;
  std::vector<ReferenceRow> references;
  std::string summary;
};

Dump parseDump(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  Dump dump;
  if (lines.size() < 3) return dump;
  dump.header = lines.front();
  dump.summary = lines.back();
  for (size_t i = 2; i + 1 < lines.size(); ++i) {
    std::istringstream words(lines[i]);
    std::vector<std::string> w{std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
    if (w.size() >= 4 && w[1] == "->" && w[2] == "id")
      dump.references.push_back({std::stoll(w[0]), std::stoi(w[3])});
    else if (w.size() == 5)
      dump.chunks.push_back({std::stoll(w[0]), w[4], std::stoi(w[1]), std::stoi(w[2]), std::stoll(w[3])});
    else
      ADD_FAILURE() << "a line that is neither a chunk nor a reference: " << lines[i];
  }
  return dump;
}

class Ts2 : public testing::Test {
 protected:
  void SetUp() override {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    folder = fs::current_path() / (std::string("ts2_") + test->test_suite_name() + "_" + test->name());
    fs::remove_all(folder);
    fs::create_directories(folder);
  }
  void TearDown() override { fs::remove_all(folder); }

  std::string path(const char* name) const { return (folder / name).string(); }

  Outcome ts2(const std::vector<std::string>& arguments) const {
    const std::string out = path("stdout.txt"), err = path("stderr.txt");
    // A sanitizer's report must not pass for the tool's own exit status 1.
    std::string command = "ASAN_OPTIONS=exitcode=86 " + quoted(TS2_BINARY);
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    command += " >" + quoted(out) + " 2>" + quoted(err);
    const int raw = std::system(command.c_str());
    Outcome run;
    run.status = raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = fileText(out);
    run.err = fileText(err);
    fs::remove(out);
    fs::remove(err);
    return run;
  }

  Dump dump(const std::string& file) const {
    const Outcome run = ts2({"dump", file});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return parseDump(run.out);
  }

  // The files in the folder, scratch output aside.
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path folder;
};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// --- dump ------------------------------------------------------------------------------------

TEST_F(Ts2, DumpOfTheColourOperationGivesTheWorkedLayout) {
  OpExample example;
  const std::string file = path("op.ts2");
  store(&example.op, file, 0);
  ASSERT_EQ(fs::file_size(file), 64u);  // the layout's file ends at offset 64

  const Dump d = dump(file);
  const std::vector<ChunkRow> layout = {
      {4, "CoCF", 1, 0, 48},
      {20, "CCCO", 1, 1, 16},
      {48, "CCFL", 1, 2, 4},
  };
  EXPECT_EQ(d.chunks, layout);
  EXPECT_TRUE(d.references.empty());
  EXPECT_TRUE(contains(d.header, "NONE")) << d.header;
  EXPECT_TRUE(contains(d.header, "60 bytes")) << d.header;
  EXPECT_TRUE(contains(d.header, "file offsets")) << d.header;
  EXPECT_EQ(d.summary, "3 chunks, 0 references, depth 2");
}

TEST_F(Ts2, DumpShowsTheSecondOperandAsAReferenceWhenBothAreOneObject) {
  // The layout's variant: offset 48 holds 01 00 00 80 and the file ends at 52, so the root's
  // body runs from 16 to 52.
  Const<color> operand(color(1.0f, 0.5f, 0.0f, 1.0f));
  SharedOperandOp op(&operand);
  const std::string file = path("shared.ts2");
  store(&op, file, 0);
  ASSERT_EQ(fs::file_size(file), 52u);

  const Dump d = dump(file);
  const std::vector<ChunkRow> layout = {{4, "CoCF", 1, 0, 36}, {20, "CCCO", 1, 1, 16}};
  const std::vector<ReferenceRow> references = {{48, 1}};
  EXPECT_EQ(d.chunks, layout);
  EXPECT_EQ(d.references, references);
}

TEST_F(Ts2, DumpOfTheSmallestSceneGivesTheWorkedLayout) {
  SmallestSceneStandIn scene;
  const std::string file = path("scene.ts2");
  store(&scene, file, 0);
  ASSERT_EQ(fs::file_size(file), 84u);  // the layout's file ends at offset 84

  const Dump d = dump(file);
  const std::vector<ChunkRow> layout = {
      {4, "SCHE", 2, 0, 68},
      {24, "HINO", 1, 1, 8},
  };
  EXPECT_EQ(d.chunks, layout);
  EXPECT_TRUE(d.references.empty());  // null words are no references
  EXPECT_TRUE(contains(d.header, "80 bytes")) << d.header;
}

TEST_F(Ts2, DumpOfACompressedFileGivesOffsetsInTheUnpackedStream) {
  OpExample example;
  const std::string file = path("op_packed.ts2");
  store(&example.op, file, 1);
  ASSERT_EQ(readBytes(file).at(0), 'I');

  const Dump d = dump(file);
  // The layout's file offsets less the 4 bytes of the magic.
  const std::vector<ChunkRow> layout = {
      {0, "CoCF", 1, 0, 48},
      {16, "CCCO", 1, 1, 16},
      {44, "CCFL", 1, 2, 4},
  };
  EXPECT_EQ(d.chunks, layout);
  EXPECT_TRUE(contains(d.header, "IOBZ")) << d.header;
  EXPECT_TRUE(contains(d.header, "unpacked object stream")) << d.header;
}

TEST_F(Ts2, DumpFindsTheReferencesOfAGraphWithStringsInItsBodies) {
  // Ids in the order of first writing: root 0, branch 1, its leaf 2, later (branch's link) 3,
  // selfish 4, back 5. Then the root's second child is later again, selfish links to itself,
  // back to the root, and the root to the leaf.
  std::unique_ptr<tstest::Node> graph(tstest::makeSampleGraph());
  const std::string file = path("graph.ts2");
  store(graph.get(), file, 0);

  const Dump d = dump(file);
  std::vector<int> ids, referred;
  for (const ChunkRow& row : d.chunks) ids.push_back(row.id);
  for (const ReferenceRow& row : d.references) referred.push_back(row.id);
  EXPECT_EQ(ids, (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(referred, (std::vector<int>{3, 4, 0, 2}));
}

// --- pack and unpack -------------------------------------------------------------------------

TEST_F(Ts2, PackThenUnpackGivesTheIdenticalFile) {
  std::unique_ptr<tstest::Node> graph(tstest::makeSampleGraph());
  OpExample example;
  graph->children.push_back(&example.op);  // the graph owns it for the write only
  const std::string plain = path("plain.ts2"), packed = path("packed.ts2"), again = path("again.ts2");
  const std::string written = path("written_packed.ts2");
  store(graph.get(), plain, 0);
  store(graph.get(), written, 1);
  graph->children.pop_back();

  const Outcome packRun = ts2({"pack", plain, packed});
  ASSERT_EQ(packRun.status, 0) << packRun.err;
  // The same block as the system's own writer makes.
  EXPECT_EQ(readBytes(packed), readBytes(written));

  const Outcome unpackRun = ts2({"unpack", packed, again});
  ASSERT_EQ(unpackRun.status, 0) << unpackRun.err;
  EXPECT_EQ(readBytes(again), readBytes(plain));
}

TEST_F(Ts2, ConversionRefusesToOverwriteItsInput) {
  OpExample example;
  const std::string plain = path("op.ts2"), link = path("link.ts2");
  store(&example.op, plain, 0);
  const Bytes before = readBytes(plain);
  ASSERT_EQ(::link(plain.c_str(), link.c_str()), 0);

  for (const std::string& out : {plain, link}) {
    const Outcome run = ts2({"pack", plain, out});
    EXPECT_EQ(run.status, 1) << out;
    EXPECT_TRUE(contains(run.err, out)) << run.err;
    EXPECT_TRUE(contains(run.err, "overwrite")) << run.err;
  }
  EXPECT_EQ(readBytes(plain), before);
  EXPECT_EQ(files(), (std::vector<std::string>{"link.ts2", "op.ts2"}));
}

TEST_F(Ts2, AFailedConversionLeavesTheOutputAsItWas) {
  OpExample example;
  const std::string packed = path("op.ts2"), out = path("out.ts2");
  store(&example.op, packed, 1);
  Bytes cut = readBytes(packed);
  cut.resize(cut.size() - 5);
  writeBytes(packed, cut);
  writeBytes(out, Bytes{'o', 'l', 'd'});

  const Outcome run = ts2({"unpack", packed, out});
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(contains(run.err, packed)) << run.err;
  EXPECT_TRUE(contains(run.err, "truncated")) << run.err;
  EXPECT_EQ(readBytes(out), (Bytes{'o', 'l', 'd'}));
  EXPECT_EQ(files(), (std::vector<std::string>{"op.ts2", "out.ts2"}));  // no temporary left behind

  const std::string nowhere = path("missing/out.ts2");
  store(&example.op, packed, 1);
  const Outcome noFolder = ts2({"unpack", packed, nowhere});
  EXPECT_EQ(noFolder.status, 1);
  EXPECT_TRUE(contains(noFolder.err, nowhere)) << noFolder.err;
  EXPECT_FALSE(fs::exists(folder / "missing"));
}

TEST_F(Ts2, ConversionToThePackingAFileHasIsRefused) {
  OpExample example;
  const std::string plain = path("plain.ts2"), packed = path("packed.ts2"), out = path("out.ts2");
  store(&example.op, plain, 0);
  store(&example.op, packed, 1);
  const Outcome unpackPlain = ts2({"unpack", plain, out});
  EXPECT_EQ(unpackPlain.status, 1);
  EXPECT_TRUE(contains(unpackPlain.err, "already NONE")) << unpackPlain.err;
  const Outcome packPacked = ts2({"pack", packed, out});
  EXPECT_EQ(packPacked.status, 1);
  EXPECT_TRUE(contains(packPacked.err, "already IOBZ")) << packPacked.err;
  EXPECT_FALSE(fs::exists(out));
}

// --- check -----------------------------------------------------------------------------------

TEST_F(Ts2, CheckSaysOkWithTheCounts) {
  Const<color> operand(color(0.0f, 0.0f, 0.0f, 1.0f));
  SharedOperandOp op(&operand);
  const std::string file = path("shared.ts2");
  store(&op, file, 0);
  const Outcome run = ts2({"check", file});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, file + ": ok: NONE, 2 chunks, 1 reference, depth 2, an object stream of 48 bytes\n");
  EXPECT_EQ(run.err, "");
}

TEST_F(Ts2, CheckFindsATruncationWhereTheDataEnds) {
  OpExample example;
  const std::string file = path("op.ts2");
  store(&example.op, file, 0);
  const Bytes whole = readBytes(file);

  struct Case {
    size_t length;
    const char* where;
    const char* chunk;
  };
  // Inside the float of CCFL, inside CCFL's header, inside the colour, inside the root's header.
  for (const Case& c : {Case{62, "offset 62:", "CCFL (id 2) at offset 48"}, Case{50, "offset 50:", "CoCF (id 0) at offset 4"},
                        Case{40, "offset 40:", "CCCO (id 1) at offset 20"}, Case{10, "offset 10:", "root chunk"}}) {
    writeBytes(file, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(c.length)));
    const Outcome run = ts2({"check", file});
    EXPECT_EQ(run.status, 1) << c.length;
    EXPECT_TRUE(contains(run.err, file + ": " + c.where + " truncated")) << run.err;
    EXPECT_TRUE(contains(run.err, c.chunk)) << run.err;
    EXPECT_EQ(run.out, "");
  }
}

TEST_F(Ts2, CheckFindsATruncatedCompressedBlock) {
  OpExample example;
  const std::string file = path("op.ts2");
  store(&example.op, file, 1);
  Bytes bytes = readBytes(file);
  bytes.resize(bytes.size() - 1);
  writeBytes(file, bytes);
  const Outcome run = ts2({"check", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(contains(run.err, file + ": offset " + std::to_string(bytes.size()) + ": truncated")) << run.err;
}

TEST_F(Ts2, CheckNamesEachKindOfFaultAtItsOffset) {
  OpExample example;
  const std::string opFile = path("op.ts2");
  store(&example.op, opFile, 0);
  const Bytes op = readBytes(opFile);
  Const<color> operand(color(1.0f, 0.5f, 0.0f, 1.0f));
  SharedOperandOp shared(&operand);
  const std::string sharedFile = path("shared.ts2");
  store(&shared, sharedFile, 0);

  struct Case {
    const char* name;
    Bytes bytes;
    const char* expected;
  };
  std::vector<Case> cases;
  Bytes overrun = op;
  putU32(overrun, 28, 100);  // CCCO's size reaches beyond CoCF's end
  cases.push_back({"overrun", overrun, "offset 20: chunk CCCO (id 1) at offset 20 declares 100 body bytes"});
  Bytes magic = op;
  magic[1] = 'X';
  cases.push_back({"magic", magic, "offset 0: bad magic 4E 58 4E 45"});
  Bytes reference = readBytes(sharedFile);
  putU32(reference, 48, 0x80000007u);
  cases.push_back({"reference", reference, "offset 48: bad reference 80000007"});
  Bytes unfinished = op;
  putU32(unfinished, 56, 0xFFFFFFFFu);  // a writer stopped inside CCFL's body
  cases.push_back({"unfinished", unfinished, "offset 48: chunk CCFL (id 2) at offset 48 declares a body of -1 bytes"});
  Bytes code = op;
  code[4] = 0x01;
  cases.push_back({"code", code, "offset 4: bad chunk code \\x01oCF"});
  Bytes behind = op;
  behind.push_back(0);
  cases.push_back({"behind", behind, "offset 64: 1 byte behind the root chunk"});
  Bytes empty = {'N', 'O', 'N', 'E'};
  cases.push_back({"empty", empty, "offset 4: truncated"});

  for (const Case& c : cases) {
    const std::string file = path(c.name);
    writeBytes(file, c.bytes);
    const Outcome run = ts2({"check", file});
    EXPECT_EQ(run.status, 1) << c.name;
    EXPECT_TRUE(contains(run.err, file + ": " + c.expected)) << c.name << ": " << run.err;
  }
}

TEST_F(Ts2, CheckTakesTheReadersNestingLimitAndNoMore) {
  const std::string deepest = path("deepest.ts2"), deeper = path("deeper.ts2");
  Nest allowed(256), tooDeep(257);
  store(&allowed, deepest, 0);
  store(&tooDeep, deeper, 0);
  const Outcome ok = ts2({"check", deepest});
  EXPECT_EQ(ok.status, 0) << ok.err;
  EXPECT_TRUE(contains(ok.out, "256 chunks, 0 references, depth 256")) << ok.out;

  const Outcome run = ts2({"check", deeper});
  EXPECT_EQ(run.status, 1);
  // The 257th chunk, at 4 + 12 * 256.
  EXPECT_TRUE(contains(run.err, "offset 3076: chunk tNST (id 256) at offset 3076 nests deeper than 256 levels"))
      << run.err;
}

// --- usage -----------------------------------------------------------------------------------

TEST_F(Ts2, BadArgumentsGiveUsageAndStatusTwo) {
  const std::vector<std::vector<std::string>> bad = {
      {}, {"frobnicate"}, {"dump"}, {"dump", "a", "b"}, {"pack", "a"}, {"check", "--verbose", "a"}, {"unpack"}};
  for (const auto& arguments : bad) {
    const Outcome run = ts2(arguments);
    const std::string shown = arguments.empty() ? "(none)" : arguments[0];
    EXPECT_EQ(run.status, 2) << shown;
    EXPECT_TRUE(contains(run.err, "usage: ts2")) << shown << ": " << run.err;
    EXPECT_EQ(run.out, "") << shown;
  }
}

TEST_F(Ts2, HelpOnTheToolAndOnEachCommand) {
  const Outcome tool = ts2({"--help"});
  EXPECT_EQ(tool.status, 0);
  for (const char* command : {"dump FILE", "check FILE", "pack IN OUT", "unpack IN OUT"})
    EXPECT_TRUE(contains(tool.out, command)) << tool.out;
  for (const char* command : {"dump", "check", "pack", "unpack"}) {
    const Outcome run = ts2({command, "--help"});
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_TRUE(contains(run.out, std::string("usage: ts2 ") + command)) << run.out;
    EXPECT_EQ(run.err, "");
  }
}

TEST_F(Ts2, AFileThatCantBeReadIsNamedWithTheReason) {
  const std::string missing = path("missing.ts2");
  for (const char* command : {"dump", "check"}) {
    const Outcome run = ts2({command, missing});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, missing + ": No such file or directory")) << run.err;
  }
}

}  // namespace
