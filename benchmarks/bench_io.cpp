// Reading a large object stream: through openInStream and readObject against a plain fread of
// the same bytes, and as a bzip2 block against the one decompression call alone. The data are
// long Linear<vect3> tracks, written into a temporary folder that is removed at the end.
#include <bzlib.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "io/chunk_registry.h"
#include "io/persistence.h"
#include "io/serializable.h"
#include "scene/controller/linear.h"

namespace {

namespace fs = std::filesystem;
using ts3d::vect3;
using Track = ts3d::controller::Linear<vect3>;

constexpr int kTracks = 8;
constexpr int kKeysPerTrack = 420000;  // 8 x 420,000 keys of 16 bytes: 53.8 MB
constexpr int kRepeats = 4;

// The root of the file: owns its tracks. Body: int32 count, then each track.
class TrackSet : public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("bTRS");

  TrackSet() = default;
  ~TrackSet() override {
    for (Track* track : tracks) delete track;
  }
  TrackSet(const TrackSet&) = delete;
  TrackSet& operator=(const TrackSet&) = delete;

  bool load(tsio::InStream& in) override {
    uint32_t count = 0;
    if (!in.readCount(&count, 4)) return false;
    for (uint32_t i = 0; i < count; ++i) tracks.push_back(tsio::readOwned<Track>(in));
    return in.isGood();
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    out.writeInt32(static_cast<int32_t>(tracks.size()));
    for (Track* track : tracks) out.writeObject(track);
  }

  std::vector<Track*> tracks;
};

tsio::ChunkRegistrer<TrackSet> trackSetRegistrer(TrackSet::kCode);

// Smooth paths, as an animation would hold them.
std::unique_ptr<TrackSet> makeTracks() {
  auto set = std::make_unique<TrackSet>();
  for (int t = 0; t < kTracks; ++t) {
    auto* track = new Track;
    track->keys.reserve(kKeysPerTrack);
    for (int k = 0; k < kKeysPerTrack; ++k) {
      const float time = static_cast<float>(k) * 3.3333f;
      const float phase = static_cast<float>(t) + time * 0.001f;
      track->keys.emplace_back(time, vect3(100.0f * std::sin(phase), 50.0f * std::cos(0.7f * phase), 0.01f * time));
    }
    set->tracks.push_back(track);
  }
  return set;
}

bool sameTracks(const TrackSet& a, const TrackSet& b) {
  if (a.tracks.size() != b.tracks.size()) return false;
  for (size_t t = 0; t < a.tracks.size(); ++t) {
    const auto& x = a.tracks[t]->keys;
    const auto& y = b.tracks[t]->keys;
    if (x.size() != y.size()) return false;
    for (size_t k = 0; k < x.size(); ++k)
      if (x[k].time != y[k].time || x[k].keyValue != y[k].keyValue) return false;
  }
  return true;
}

double seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A timed piece of work, and what must happen before each run of it, untimed.
struct Run {
  std::function<void()> work;
  std::function<void()> prepare = [] {};
};

// The best of several runs of each, taken in turns so that both meet the machine alike; the best
// is the run least disturbed by the rest of the machine.
std::pair<double, double> bestOfEach(const Run& first, const Run& second) {
  double a = 1e30, b = 1e30;
  for (int i = 0; i < kRepeats; ++i) {
    first.prepare();
    a = std::min(a, seconds(first.work));
    second.prepare();
    b = std::min(b, seconds(second.work));
  }
  return {a, b};
}

// Asks the kernel to forget the file's pages, so that the next read comes from the disk (in a
// virtual machine, perhaps from the host's cache). Dirty pages aren't dropped: they are written
// first. False when the kernel refuses.
bool dropFromCache(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) return false;
  const bool dropped = fdatasync(fd) == 0 && posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED) == 0;
  close(fd);
  return dropped;
}

std::vector<char> readFile(const std::string& path) {
  std::vector<char> bytes;
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return bytes;
  std::fseek(file, 0, SEEK_END);
  bytes.resize(static_cast<size_t>(std::ftell(file)));
  std::fseek(file, 0, SEEK_SET);
  if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) bytes.clear();
  std::fclose(file);
  return bytes;
}

// The root of a persistence file, or null.
std::unique_ptr<TrackSet> load(const std::string& path) {
  std::unique_ptr<tsio::InStream> in(tsio::openInStream(path));
  if (!in) return nullptr;
  return std::unique_ptr<TrackSet>(dynamic_cast<TrackSet*>(in->readObject()));
}

bool write(TrackSet& set, const std::string& path, int mode) {
  std::unique_ptr<tsio::OutStream> out(tsio::openOutStream(path, mode));
  if (!out) return false;
  out->writeObject(&set);
  return true;
}

uint32_t u32At(const std::vector<char>& bytes, size_t at) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(bytes[at + static_cast<size_t>(i)]);
  return value;
}

int run(const fs::path& folder) {
  const std::string plain = (folder / "tracks_none.ts2").string();
  const std::string packed = (folder / "tracks_iobz.ts2").string();
  std::unique_ptr<TrackSet> original = makeTracks();
  std::printf("writing %d tracks of %d keys: %s and %s\n", kTracks, kKeysPerTrack, plain.c_str(), packed.c_str());
  std::fflush(stdout);
  if (!write(*original, plain, 0) || !write(*original, packed, 1)) {
    std::fprintf(stderr, "bench_io: can't write the files in %s\n", folder.string().c_str());
    return 1;
  }

  // Both readers must give the tracks back before their times mean anything; this also puts
  // the files in the page cache, so that each reader meets them alike.
  for (const std::string& path : {plain, packed}) {
    const std::unique_ptr<TrackSet> back = load(path);
    if (!back || !sameTracks(*original, *back)) {
      std::fprintf(stderr, "bench_io: %s doesn't read back as written\n", path.c_str());
      return 1;
    }
  }
  const std::vector<char> plainBytes = readFile(plain);
  const std::vector<char> packedBytes = readFile(packed);
  const double megabytes = static_cast<double>(plainBytes.size()) / 1e6;

  // (a) The uncompressed file, its pages cached and then dropped before each run. Freeing the
  // last result isn't part of reading.
  std::vector<char> sink;
  std::unique_ptr<TrackSet> result;
  const auto loadPlain = [&] { result = load(plain); };
  const auto freadPlain = [&] { sink = readFile(plain); };
  const auto freeResult = [&] { result.reset(); };
  const auto freeSink = [&] { std::vector<char>().swap(sink); };
  const auto [objectTime, freadTime] = bestOfEach({loadPlain, freeResult}, {freadPlain, freeSink});
  if (!result || sink != plainBytes) return 1;
  std::printf("(a) NONE %.1f MB, page cache warm: openInStream+readObject %.1f ms, fread %.1f ms: ratio %.2f "
              "(target within 3x)\n",
              megabytes, objectTime * 1e3, freadTime * 1e3, objectTime / freadTime);
  std::fflush(stdout);

  bool dropped = true;
  const auto drop = [&] { dropped = dropFromCache(plain) && dropped; };
  const Run loadCold{loadPlain, [&] {
                       freeResult();
                       drop();
                     }};
  const Run freadCold{freadPlain, [&] {
                        freeSink();
                        drop();
                      }};
  const auto [coldObjectTime, coldFreadTime] = bestOfEach(loadCold, freadCold);
  if (!result || sink != plainBytes) return 1;
  result.reset();
  if (dropped)
    std::printf("(a) NONE %.1f MB, page cache dropped: openInStream+readObject %.1f ms, fread %.1f ms: ratio %.2f\n",
                megabytes, coldObjectTime * 1e3, coldFreadTime * 1e3, coldObjectTime / coldFreadTime);
  else
    std::printf("(a) NONE, page cache dropped: not measured, the kernel kept the pages\n");
  std::fflush(stdout);

  // (b) The compressed file, against unpacking its block alone with the block already in memory.
  const unsigned int unpackedLength = u32At(packedBytes, 4);
  const unsigned int packedLength = u32At(packedBytes, 8);
  std::vector<char> unpacked(unpackedLength);
  int status = BZ_OK;
  const Run loadPacked{[&] { result = load(packed); }, freeResult};
  const Run unpackAlone{[&] {
    unsigned int produced = unpackedLength;
    status = BZ2_bzBuffToBuffDecompress(unpacked.data(), &produced, const_cast<char*>(packedBytes.data() + 12),
                                        packedLength, 0, 0);
  }};
  const auto [packedTime, bzipTime] = bestOfEach(loadPacked, unpackAlone);
  if (!result || status != BZ_OK || !std::equal(unpacked.begin(), unpacked.end(), plainBytes.begin() + 4)) return 1;
  result.reset();
  std::printf(
      "(b) IOBZ %.1f MB from %.1f MB: openInStream+readObject %.1f ms, BZ2_bzBuffToBuffDecompress %.1f ms: ratio %.3f "
      "(target within 1.15x)\n",
      megabytes, static_cast<double>(packedBytes.size()) / 1e6, packedTime * 1e3, bzipTime * 1e3,
      packedTime / bzipTime);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    std::printf("usage: bench_io\n\nTimes reading a large object stream (best of %d runs each); the data go to a\n"
                "temporary folder under TMPDIR (or /tmp), removed at the end.\n",
                kRepeats);
    return std::string(argv[1]) == "--help" ? 0 : 2;
  }
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tsbench-XXXXXX";
  if (!mkdtemp(pattern.data())) {
    std::perror("bench_io: mkdtemp");
    return 1;
  }
  const fs::path folder(pattern);
  const int status = run(folder);
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  return status;
}
