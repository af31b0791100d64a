// ts2: looks into persistence files and converts them between their two packings.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "io/trace.h"
#include "tools/chunk_tree.h"
#include "tools/persistence_file.h"

namespace {

using tstool::Packing;
using tstool::PersistenceFile;
using tstool::Problem;

constexpr int kDone = 0;
constexpr int kFault = 1;
constexpr int kUsage = 2;

const char* const kUsageText =
    "usage: ts2 COMMAND ARGUMENTS...\n"
    "       ts2 COMMAND --help\n";

const char* const kHelpText =
    "Looks into persistence files (.ts2 scenes, exported animations): a 4-byte magic, NONE\n"
    "(the object stream follows) or IOBZ (a bzip2 block of it follows), then one root object\n"
    "stored as nested chunks.\n"
    "\n"
    "commands:\n"
    "  dump FILE        print the chunk tree: offset, version, id and body size of each chunk,\n"
    "                   and the reference words to objects stored earlier\n"
    "  check FILE       walk the whole tree; \"ok\" with counts, or the offset of the first fault\n"
    "  pack IN OUT      store IN's object stream as a bzip2 block (IOBZ) in OUT\n"
    "  unpack IN OUT    store IN's object stream uncompressed (NONE) in OUT\n"
    "\n"
    "Exit status: 0 done, 1 a fault in a file or an error, 2 bad usage.\n";

const char* const kTreeRules =
    "The tool knows no class: chunk bodies are opaque to it. Inside a body it takes as a nested\n"
    "chunk four code letters [A-Za-z0-9_] with a version below 256, the next object's id (ids\n"
    "count up from 0 in the order objects were written) and a size that fits the parent; and as\n"
    "a reference a word 0x8000iiii naming an object met before, at a 4-byte step from the start\n"
    "of the body, from the end of a nested chunk or from the end of a string.\n";

struct Command {
  const char* name;
  int operands;
  const char* synopsis;
  const char* help;
  int (*run)(const std::vector<std::string>& operands);
};

int dump(const std::vector<std::string>& operands);
int check(const std::vector<std::string>& operands);
int pack(const std::vector<std::string>& operands);
int unpack(const std::vector<std::string>& operands);

const Command kCommands[] = {
    {"dump", 1, "ts2 dump FILE",
     "Prints the chunk tree of FILE, one line per chunk in file order: its offset, version, id,\n"
     "body size and code, indented by depth; and one line per reference word, with the id it\n"
     "names and where that object's chunk stands. For NONE the offsets are file offsets (the\n"
     "root chunk at 4); for IOBZ they are those of the unpacked object stream (the root at 0),\n"
     "as the first line says. A fault ends the tree and is reported as check reports it.\n",
     dump},
    {"check", 1, "ts2 check FILE",
     "Walks the whole of FILE: magic, compressed block, chunk headers, sizes, nesting and\n"
     "references. Prints \"ok\" with the counts of chunks and references and the deepest\n"
     "nesting, or names the first fault and its offset (truncation, a size that overruns its\n"
     "parent, a bad magic or code, a reference to nothing, nesting beyond 256 levels, bytes\n"
     "behind the root) and exits with 1. Offsets are given as dump gives them.\n",
     check},
    {"pack", 2, "ts2 pack IN OUT",
     "Writes IN, a NONE file, as an IOBZ file OUT: the same object stream as one bzip2 block.\n"
     "The object stream is copied as it is, not interpreted (check tells whether it is sound).\n"
     "OUT is written under a temporary name beside it and then renamed, so a failure leaves no\n"
     "half-written OUT; OUT may not be IN.\n",
     pack},
    {"unpack", 2, "ts2 unpack IN OUT",
     "Writes IN, an IOBZ file, as a NONE file OUT holding the unpacked object stream byte for\n"
     "byte. OUT is written under a temporary name beside it and then renamed, so a failure\n"
     "leaves no half-written OUT; OUT may not be IN.\n",
     unpack},
};

// Messages of the io code reach the user as lines on standard error, never as boxes.
class ErrorTracer : public trace::Tracer {
 public:
  void box(const char* format, va_list arguments) override { print(format, arguments); }
  void warn(const char* format, va_list arguments) override { print(format, arguments); }
  void log(const char*, va_list) override {}

 private:
  static void print(const char* format, va_list arguments) {
    std::fputs("ts2: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
  }
};

void report(const std::string& path, const Problem& problem) {
  if (problem.inFile)
    std::fprintf(stderr, "ts2: %s: offset %lld: %s\n", path.c_str(), static_cast<long long>(problem.offset),
                 problem.what.c_str());
  else
    std::fprintf(stderr, "ts2: %s: %s\n", path.c_str(), problem.what.c_str());
}

void reportWalkFault(const std::string& path, const PersistenceFile& file, const tstool::WalkResult& walk) {
  std::fprintf(stderr, "ts2: %s: %s %lld: %s\n", path.c_str(),
               file.packing == Packing::Plain ? "offset" : "object stream offset",
               static_cast<long long>(walk.faultOffset), walk.fault.c_str());
}

std::string plural(size_t count, const char* word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

std::string counts(const tstool::WalkResult& walk) {
  if (walk.nullRoot) return "a null root, no objects";
  return plural(walk.chunks, "chunk") + ", " + plural(walk.references, "reference") + ", depth " +
         std::to_string(walk.depth);
}

class TreePrinter : public tstool::TreeVisitor {
 public:
  void chunk(const tstool::Chunk& c) override {
    std::printf("%10lld  %7u  %5u  %10d  %*s%s\n", static_cast<long long>(c.offset), c.version, c.id, c.size,
                indent(c.depth), "", tstool::codeText(c.code).c_str());
  }
  void reference(const tstool::Reference& r) override {
    std::printf("%10lld  %7s  %5s  %10s  %*s-> id %u (%s at %lld)\n", static_cast<long long>(r.offset), "", "", "",
                indent(r.depth + 1), "", r.id, tstool::codeText(r.targetCode).c_str(),
                static_cast<long long>(r.targetOffset));
  }

 private:
  static int indent(size_t depth) { return static_cast<int>(2 * (depth - 1)); }
};

int dump(const std::vector<std::string>& operands) {
  const std::string& path = operands[0];
  PersistenceFile file;
  Problem problem;
  if (!tstool::readPersistenceFile(path, file, problem)) {
    report(path, problem);
    return kFault;
  }
  if (file.packing == Packing::Plain)
    std::printf("%s: NONE, an object stream of %zu bytes from offset 4; offsets are file offsets\n", path.c_str(),
                file.objectStream.size());
  else
    std::printf(
        "%s: IOBZ, a bzip2 block of %u bytes unpacking to %zu; offsets are those of the unpacked object stream\n",
        path.c_str(), file.packedSize, file.objectStream.size());
  std::printf("%10s  %7s  %5s  %10s  %s\n", "offset", "version", "id", "size", "chunk");
  TreePrinter printer;
  const tstool::WalkResult walk =
      tstool::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), &printer);
  std::printf("%s\n", counts(walk).c_str());
  std::fflush(stdout);
  if (!walk.ok) {
    reportWalkFault(path, file, walk);
    return kFault;
  }
  return kDone;
}

int check(const std::vector<std::string>& operands) {
  const std::string& path = operands[0];
  PersistenceFile file;
  Problem problem;
  if (!tstool::readPersistenceFile(path, file, problem)) {
    report(path, problem);
    return kFault;
  }
  const tstool::WalkResult walk =
      tstool::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), nullptr);
  if (!walk.ok) {
    reportWalkFault(path, file, walk);
    return kFault;
  }
  std::printf("%s: ok: %s, %s, an object stream of %zu bytes\n", path.c_str(), file.magicName(),
              counts(walk).c_str(), file.objectStream.size());
  return kDone;
}

// Reads IN for a conversion to the other packing; false after the message.
bool readForConversion(const std::string& in, const std::string& out, Packing from, PersistenceFile& file) {
  if (in == out || tstool::sameFile(in, out)) {
    std::fprintf(stderr, "ts2: %s: the output would overwrite the input; choose another name\n", out.c_str());
    return false;
  }
  Problem problem;
  if (!tstool::readPersistenceFile(in, file, problem)) {
    report(in, problem);
    return false;
  }
  if (file.packing != from) {
    std::fprintf(stderr, "ts2: %s: already %s; nothing to convert\n", in.c_str(), file.magicName());
    return false;
  }
  return true;
}

bool write(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::string error;
  if (tstool::writeFileAtomically(path, bytes, error)) return true;
  std::fprintf(stderr, "ts2: %s: can't write: %s\n", path.c_str(), error.c_str());
  return false;
}

int pack(const std::vector<std::string>& operands) {
  const std::string &in = operands[0], &out = operands[1];
  PersistenceFile file;
  if (!readForConversion(in, out, Packing::Plain, file)) return kFault;
  if (file.objectStream.empty()) {
    std::fprintf(stderr, "ts2: %s: no object stream behind the magic: a bzip2 block can't be empty\n", in.c_str());
    return kFault;
  }
  // The io writer makes the block, so that the tool's files are exactly what the system writes.
  tsio::OutStreamMemory packed;
  {
    tsio::OutStreamBzip2 block(&packed, false);
    block.writeBytes(file.objectStream.data(), static_cast<uint32_t>(file.objectStream.size()));
  }
  PersistenceFile again;
  Problem problem;
  if (!tstool::parsePersistenceFile(packed.bytes(), again, problem) || again.objectStream != file.objectStream) {
    std::fprintf(stderr, "ts2: %s: the packed block doesn't unpack to the object stream; nothing written\n",
                 out.c_str());
    return kFault;
  }
  if (!write(out, packed.bytes())) return kFault;
  std::printf("%s: IOBZ, %zu bytes (an object stream of %zu bytes from %s)\n", out.c_str(), packed.bytes().size(),
              file.objectStream.size(), in.c_str());
  return kDone;
}

int unpack(const std::vector<std::string>& operands) {
  const std::string &in = operands[0], &out = operands[1];
  PersistenceFile file;
  if (!readForConversion(in, out, Packing::Bzip2, file)) return kFault;
  std::vector<uint8_t> bytes = {'N', 'O', 'N', 'E'};
  bytes.insert(bytes.end(), file.objectStream.begin(), file.objectStream.end());
  if (!write(out, bytes)) return kFault;
  std::printf("%s: NONE, %zu bytes (an object stream of %zu bytes from %s)\n", out.c_str(), bytes.size(),
              file.objectStream.size(), in.c_str());
  return kDone;
}

bool isHelp(const std::string& argument) { return argument == "--help" || argument == "-h"; }

void printCommandHelp(const Command& command) {
  std::printf("usage: %s\n\n%s", command.synopsis, command.help);
  if (std::strcmp(command.name, "dump") == 0 || std::strcmp(command.name, "check") == 0)
    std::printf("\n%s", kTreeRules);
}

int badUsage(const std::string& message, const Command* command) {
  std::fprintf(stderr, "ts2: %s\n", message.c_str());
  if (command)
    std::fprintf(stderr, "usage: %s\n", command->synopsis);
  else
    std::fputs(kUsageText, stderr);
  std::fputs("(ts2 --help lists the commands)\n", stderr);
  return kUsage;
}

}  // namespace

int main(int argc, char** argv) {
  static ErrorTracer tracer;
  trace::setTracer(&tracer);

  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) return badUsage("no command", nullptr);
  if (isHelp(arguments[0]) || arguments[0] == "help") {
    if (arguments.size() >= 2)
      for (const Command& command : kCommands)
        if (arguments[1] == command.name) {
          printCommandHelp(command);
          return kDone;
        }
    std::printf("%s\n%s", kUsageText, kHelpText);
    return kDone;
  }

  const Command* command = nullptr;
  for (const Command& candidate : kCommands)
    if (arguments[0] == candidate.name) command = &candidate;
  if (!command) return badUsage("unknown command '" + arguments[0] + "'", nullptr);

  std::vector<std::string> operands;
  bool optionsEnded = false;
  for (size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!optionsEnded && argument == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && isHelp(argument)) {
      printCommandHelp(*command);
      return kDone;
    } else if (!optionsEnded && argument.size() > 1 && argument[0] == '-') {
      return badUsage(std::string(command->name) + ": unknown option '" + argument + "'", command);
    } else {
      operands.push_back(argument);
    }
  }
  if (static_cast<int>(operands.size()) != command->operands)
    return badUsage(std::string(command->name) + " takes " + (command->operands == 1 ? "one file" : "two files") +
                        ", not " + std::to_string(operands.size()),
                    command);
  return command->run(operands);
}
