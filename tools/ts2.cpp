// ts2: looks into persistence files and converts them between their two packings.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "io/trace.h"
#include "io/chunk_walk.h"
#include "tools/body_printer.h"
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
    "  dump FILE        print each chunk and each field of its body by name, with its value\n"
    "  check FILE       walk every body; \"ok\" with counts, or the offset of the first fault\n"
    "  pack IN OUT      store IN's object stream as a bzip2 block (IOBZ) in OUT\n"
    "  unpack IN OUT    store IN's object stream uncompressed (NONE) in OUT\n"
    "\n"
    "Exit status: 0 done, 1 a fault in a file or an error, 2 bad usage.\n";

const char* const kTreeRules =
    "Each body is walked by the description of its class: every field where the class's load\n"
    "reads it, counts and flags deciding what follows, objects as a null word, a reference\n"
    "(0x80000000 or'ed with the id of an object stored before) or a nested chunk. Each body must\n"
    "end exactly where its chunk says. A chunk of a code no class has, or of a version its class\n"
    "doesn't read, is stepped over by its size, as the driver does. Ids count up from 0 in the\n"
    "order objects were written.\n";

struct Command {
  const char* name;
  int operands;
  const char* option;  // the one option the command takes, or null
  const char* synopsis;
  const char* help;
  int (*run)(const std::vector<std::string>& operands, bool option);
};

int dump(const std::vector<std::string>& operands, bool full);
int check(const std::vector<std::string>& operands, bool);
int pack(const std::vector<std::string>& operands, bool);
int unpack(const std::vector<std::string>& operands, bool);

const Command kCommands[] = {
    {"dump", 1, "--full", "ts2 dump [--full] FILE",
     "Prints FILE in file order, a line each: every chunk with its code, version, id, body size\n"
     "and class, and every field of its body by name with its value: numbers, vectors, flags by\n"
     "name, strings, objects (null, a reference with the id and the code it names, or the nested\n"
     "chunk). Arrays show their first items; --full shows all of them and all embedded bytes.\n"
     "For NONE the offsets are file offsets (the root chunk at 4); for IOBZ they are those of the\n"
     "unpacked object stream (the root at 0), as the first line says. A fault ends the dump and\n"
     "is reported as check reports it.\n",
     dump},
    {"check", 1, "--every-cut", "ts2 check [--every-cut] FILE",
     "Walks the whole of FILE: magic, compressed block, chunk headers, sizes, nesting, ids,\n"
     "references, and every body by its class's fields. Prints \"ok\" with the counts of chunks,\n"
     "references and bodies stepped over and the deepest nesting, or names the first fault, its\n"
     "offset and the field being read (truncation, a size that overruns its parent, a count\n"
     "beyond the bytes left, a body longer or shorter than its fields, a reference to nothing,\n"
     "nesting beyond 256 levels, bytes behind the root) and exits with 1. Offsets are given as\n"
     "dump gives them. --every-cut then walks each shorter copy of the object stream, from 0\n"
     "bytes to one byte short, and fails unless each one is reported at or before its cut: that\n"
     "truncation anywhere is caught (a long walk: the stream's size squared, halved, in bytes).\n",
     check},
    {"pack", 2, nullptr, "ts2 pack IN OUT",
     "Writes IN, a NONE file, as an IOBZ file OUT: the same object stream as one bzip2 block.\n"
     "The object stream is copied as it is, not interpreted (check tells whether it is sound).\n"
     "OUT is written under a temporary name beside it and then renamed, so a failure leaves no\n"
     "half-written OUT; OUT may not be IN.\n",
     pack},
    {"unpack", 2, nullptr, "ts2 unpack IN OUT",
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

void reportWalkFault(const std::string& path, const PersistenceFile& file, const tsio::layout::WalkResult& walk) {
  std::fprintf(stderr, "ts2: %s: %s %lld: %s\n", path.c_str(),
               file.packing == Packing::Plain ? "offset" : "object stream offset",
               static_cast<long long>(walk.faultOffset), walk.fault.c_str());
}

std::string plural(size_t count, const char* word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

std::string counts(const tsio::layout::WalkResult& walk) {
  if (walk.nullRoot) return "a null root, no objects";
  std::string text = plural(walk.chunks, "chunk") + ", " + plural(walk.references, "reference") + ", depth " +
                     std::to_string(walk.depth);
  if (walk.skipped) text += ", " + plural(walk.skipped, "body") + " stepped over";
  return text;
}

int dump(const std::vector<std::string>& operands, bool full) {
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
  std::printf("%10s  %s\n", "offset", "chunk or field");
  tstool::BodyPrinter printer(stdout, full);
  const tsio::layout::WalkResult walk =
      tsio::layout::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), &printer);
  std::printf("%s\n", counts(walk).c_str());
  std::fflush(stdout);
  if (!walk.ok) {
    reportWalkFault(path, file, walk);
    return kFault;
  }
  return kDone;
}

// The first cut of the object stream that walks without a fault or faults past the cut, or
// the stream's size when every cut is caught.
size_t firstUncaughtCut(const PersistenceFile& file) {
  const std::vector<uint8_t>& stream = file.objectStream;
  for (size_t cut = 0; cut < stream.size(); ++cut) {
    const tsio::layout::WalkResult walk =
        tsio::layout::walkObjectStream(stream.data(), cut, file.offsetBase(), nullptr);
    if (walk.ok || walk.faultOffset > static_cast<int64_t>(cut) + file.offsetBase()) return cut;
  }
  return stream.size();
}

int check(const std::vector<std::string>& operands, bool everyCut) {
  const std::string& path = operands[0];
  PersistenceFile file;
  Problem problem;
  if (!tstool::readPersistenceFile(path, file, problem)) {
    report(path, problem);
    return kFault;
  }
  const tsio::layout::WalkResult walk =
      tsio::layout::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), nullptr);
  if (!walk.ok) {
    reportWalkFault(path, file, walk);
    return kFault;
  }
  std::printf("%s: ok: %s, %s, an object stream of %zu bytes\n", path.c_str(), file.magicName(),
              counts(walk).c_str(), file.objectStream.size());
  if (!everyCut) return kDone;
  const size_t uncaught = firstUncaughtCut(file);
  if (uncaught < file.objectStream.size()) {
    std::printf("%s: a copy cut after %zu bytes of the object stream is not reported at its cut\n", path.c_str(),
                uncaught);
    return kFault;
  }
  std::printf("%s: every one of the %zu cuts is reported at or before the cut\n", path.c_str(),
              file.objectStream.size());
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

int pack(const std::vector<std::string>& operands, bool) {
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

int unpack(const std::vector<std::string>& operands, bool) {
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
  bool optionsEnded = false, option = false;
  for (size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!optionsEnded && argument == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && command->option && argument == command->option) {
      option = true;
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
  return command->run(operands, option);
}
