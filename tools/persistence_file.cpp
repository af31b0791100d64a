#include "tools/persistence_file.h"

#include <bzlib.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "io/persistence.h"
#include "io/stream_bzip2.h"
#include "io/trace.h"

namespace tstool {
namespace {

constexpr size_t kBzip2HeaderBytes = 12;  // magic, unpacked length, packed length
constexpr uint64_t kMaxFileBytes = static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
constexpr size_t kFirstOutputBytes = size_t{1} << 20;

bool failed(Problem& problem, std::string what) {
  problem = Problem{false, 0, std::move(what)};
  return false;
}

bool faultAt(Problem& problem, uint64_t offset, std::string what) {
  problem = Problem{true, static_cast<int64_t>(offset), std::move(what)};
  return false;
}

uint32_t u32At(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

// Unpacks with the streaming calls so that memory grows with what the block really gives,
// whatever length its header claims, and stops one byte beyond that length.
bool unpack(const std::vector<uint8_t>& bytes, PersistenceFile& file, Problem& problem) {
  if (bytes.size() < kBzip2HeaderBytes)
    return faultAt(problem, bytes.size(), "truncated: the file ends inside the header of its compressed block");
  const auto length = static_cast<int32_t>(u32At(bytes.data() + 4));
  const auto packed = static_cast<int32_t>(u32At(bytes.data() + 8));
  if (length <= 0 || length > tsio::InStreamBzip2::kMaxUnpackedSize)
    return faultAt(problem, 4,
                   trace::text("the compressed block declares %d unpacked bytes; a reader takes 1 to %d", length,
                          tsio::InStreamBzip2::kMaxUnpackedSize));
  if (packed <= 0) return faultAt(problem, 8, trace::text("the compressed block declares %d bytes", packed));
  const uint64_t blockEnd = kBzip2HeaderBytes + static_cast<uint64_t>(packed);
  if (blockEnd > bytes.size())
    return faultAt(problem, bytes.size(),
                   trace::text("truncated: the compressed block declares %d bytes, to offset %llu, but the file ends here",
                          packed, static_cast<unsigned long long>(blockEnd)));

  std::vector<uint8_t>& out = file.objectStream;
  const size_t wanted = static_cast<size_t>(length);
  out.assign(std::min(wanted + 1, kFirstOutputBytes), 0);
  bz_stream stream{};
  if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) return failed(problem, "bzip2 can't start");
  // bzip2's interface takes non-const pointers; it doesn't write through next_in.
  stream.next_in = const_cast<char*>(reinterpret_cast<const char*>(bytes.data() + kBzip2HeaderBytes));
  stream.avail_in = static_cast<unsigned int>(packed);
  size_t produced = 0;
  int result = BZ_OK;
  for (;;) {
    if (produced == out.size()) {
      if (out.size() > wanted) break;  // one byte more than declared is enough to know
      out.resize(std::min(out.size() * 2, wanted + 1));
    }
    stream.next_out = reinterpret_cast<char*>(out.data() + produced);
    stream.avail_out = static_cast<unsigned int>(out.size() - produced);
    result = BZ2_bzDecompress(&stream);
    produced = out.size() - stream.avail_out;
    if (result != BZ_OK) break;
    if (stream.avail_in == 0 && stream.avail_out > 0) break;  // input used up before the stream's end
  }
  const unsigned int consumed = static_cast<unsigned int>(packed) - stream.avail_in;
  BZ2_bzDecompressEnd(&stream);
  const uint64_t where = kBzip2HeaderBytes + consumed;
  if (result != BZ_OK && result != BZ_STREAM_END)
    return faultAt(problem, where, trace::text("the compressed block is damaged (bzip2 error %d)", result));
  if (produced > wanted)
    return faultAt(problem, 4, trace::text("the compressed block unpacks to more than the %d bytes it declares", length));
  if (result != BZ_STREAM_END)
    return faultAt(problem, blockEnd, "truncated: the compressed block ends inside its bzip2 stream");
  if (produced != wanted)
    return faultAt(problem, 4,
                   trace::text("the compressed block unpacks to %zu bytes, not the %d it declares", produced, length));
  if (where < blockEnd)
    return faultAt(problem, where, trace::text("%llu bytes behind the bzip2 stream inside the compressed block",
                                          static_cast<unsigned long long>(blockEnd - where)));
  if (blockEnd < bytes.size())
    return faultAt(problem, blockEnd, trace::text("%llu bytes behind the compressed block",
                                             static_cast<unsigned long long>(bytes.size() - blockEnd)));
  out.resize(produced);
  file.packedSize = static_cast<uint32_t>(packed);
  return true;
}

}  // namespace

bool readWholeFile(const std::string& path, std::vector<uint8_t>& bytes, Problem& problem) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return failed(problem, std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return failed(problem, "not a regular file");
  if (static_cast<uint64_t>(status.st_size) > kMaxFileBytes)
    return failed(problem, trace::text("%lld bytes: a persistence file holds at most %llu",
                                  static_cast<long long>(status.st_size), static_cast<unsigned long long>(kMaxFileBytes)));
  std::FILE* stream = std::fopen(path.c_str(), "rb");
  if (!stream) return failed(problem, std::strerror(errno));
  bytes.clear();
  bytes.resize(static_cast<size_t>(status.st_size));
  size_t got = bytes.empty() ? 0 : std::fread(bytes.data(), 1, bytes.size(), stream);
  // The file may have grown or shrunk since stat: read on to its real end, within the limit.
  if (got == bytes.size()) {
    uint8_t chunk[65536];
    size_t more = 0;
    while ((more = std::fread(chunk, 1, sizeof chunk, stream)) > 0) {
      if (bytes.size() + more > kMaxFileBytes) {
        std::fclose(stream);
        return failed(problem, "the file grows beyond what a persistence file can hold");
      }
      bytes.insert(bytes.end(), chunk, chunk + more);
    }
    got = bytes.size();
  }
  const bool error = std::ferror(stream) != 0;
  std::fclose(stream);
  if (error) return failed(problem, "read error");
  bytes.resize(got);
  return true;
}

bool readPersistenceFile(const std::string& path, PersistenceFile& file, Problem& problem) {
  std::vector<uint8_t> bytes;
  return readWholeFile(path, bytes, problem) && parsePersistenceFile(bytes, file, problem);
}

bool parsePersistenceFile(const std::vector<uint8_t>& bytes, PersistenceFile& file, Problem& problem) {
  file = PersistenceFile{};
  file.fileSize = bytes.size();
  if (bytes.size() < 4)
    return faultAt(problem, bytes.size(), "truncated: the file is too short to hold a magic (NONE or IOBZ)");
  const uint32_t magic = u32At(bytes.data());
  if (magic == tsio::kMagicPlain) {
    file.packing = Packing::Plain;
    file.objectStream.assign(bytes.begin() + 4, bytes.end());
    return true;
  }
  if (magic == tsio::kMagicBzip2) {
    file.packing = Packing::Bzip2;
    return unpack(bytes, file, problem);
  }
  return faultAt(problem, 0,
                 trace::text("bad magic %02X %02X %02X %02X: a persistence file starts with NONE or IOBZ", bytes[0],
                        bytes[1], bytes[2], bytes[3]));
}

bool writeFileAtomically(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error) {
  std::string temporary = path + ".ts2-XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) {
    error = trace::text("can't create a file beside it: %s", std::strerror(errno));
    return false;
  }
  // mkstemp makes the file private; give it what a new file gets.
  const mode_t mask = umask(0);
  umask(mask);
  std::string reason;
  if (fchmod(descriptor, 0666 & ~mask) != 0) reason = std::strerror(errno);
  size_t written = 0;
  while (reason.empty() && written < bytes.size()) {
    const ssize_t step = write(descriptor, bytes.data() + written, bytes.size() - written);
    if (step < 0 && errno == EINTR) continue;
    if (step <= 0)
      reason = step < 0 ? std::strerror(errno) : "nothing could be written";
    else
      written += static_cast<size_t>(step);
  }
  if (reason.empty() && fsync(descriptor) != 0) reason = std::strerror(errno);
  if (close(descriptor) != 0 && reason.empty()) reason = std::strerror(errno);
  if (reason.empty() && std::rename(temporary.c_str(), path.c_str()) != 0) reason = std::strerror(errno);
  if (reason.empty()) return true;
  std::remove(temporary.c_str());
  error = reason;
  return false;
}

bool sameFile(const std::string& first, const std::string& second) {
  struct stat a {}, b {};
  if (stat(first.c_str(), &a) != 0 || stat(second.c_str(), &b) != 0) return false;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace tstool
