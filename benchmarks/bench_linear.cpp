// Linear<T>::update on a long track at random times, against the same search and blend on plain
// arrays (std::upper_bound over the times): what the controller's own search and its key access
// cost beyond the work itself.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "scene/controller/linear.h"
#include "scene/controller/values.h"

namespace {

using ts3d::quat;
using ts3d::vect3;

constexpr int kKeys = 100000;
constexpr int kQueries = 1000000;
constexpr int kRepeats = 5;

template <class T>
T sample(std::mt19937& random);
template <>
vect3 sample<vect3>(std::mt19937& random) {
  std::uniform_real_distribution<float> d(-100.0f, 100.0f);
  return vect3(d(random), d(random), d(random));
}
template <>
quat sample<quat>(std::mt19937& random) {
  std::normal_distribution<float> d;
  quat q(d(random), d(random), d(random), d(random));
  const float n = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  return quat(q.x / n, q.y / n, q.z / n, q.w / n);
}

float firstFloat(const vect3& v) { return v.x; }
float firstFloat(const quat& q) { return q.x; }

// The keys of a track and the same keys as two plain arrays.
template <class T>
struct Data {
  ts3d::controller::Linear<T> track;
  std::vector<float> times;
  std::vector<T> values;
  std::vector<float> queries;
};

template <class T>
Data<T> makeData() {
  std::mt19937 random(20240611);
  std::uniform_real_distribution<float> step(0.5f, 1.5f);
  Data<T> data;
  float time = 0.0f;
  for (int k = 0; k < kKeys; ++k) {
    time += step(random);
    const T value = sample<T>(random);
    data.track.keys.emplace_back(time, value);
    data.times.push_back(time);
    data.values.push_back(value);
  }
  // A little beyond both ends too, where time stands still.
  std::uniform_real_distribution<float> when(-0.01f * time, 1.01f * time);
  for (int q = 0; q < kQueries; ++q) data.queries.push_back(when(random));
  return data;
}

// The same answer as Linear<T>::update, on plain arrays.
template <class T>
T plainUpdate(const Data<T>& data, float time) {
  const std::vector<float>& times = data.times;
  if (!(times.front() < time)) return data.values.front();
  if (!(time < times.back())) return data.values.back();
  const size_t after = static_cast<size_t>(std::upper_bound(times.begin(), times.end(), time) - times.begin());
  const size_t before = after - 1;
  const float u = (time - times[before]) / (times[after] - times[before]);
  return ts3d::controller::blend(data.values[before], data.values[after], u);
}

template <class F>
double nanosecondsPerQuery(F&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / kQueries;
}

template <class T>
bool measure(const char* name) {
  Data<T> data = makeData<T>();
  // The two must agree before their times mean anything.
  for (int q = 0; q < 1000; ++q) {
    data.track.update(data.queries[static_cast<size_t>(q)]);
    if (data.track.value != plainUpdate(data, data.queries[static_cast<size_t>(q)])) {
      std::fprintf(stderr, "bench_linear: %s: update and the plain search disagree at time %g\n", name,
                   static_cast<double>(data.queries[static_cast<size_t>(q)]));
      return false;
    }
  }
  // Sums keep the work from being optimised away; they are printed.
  volatile float sink = 0.0f;
  // The best of several runs of each, in turns, so that both meet the machine alike.
  double trackNs = 1e30, plainNs = 1e30;
  for (int r = 0; r < kRepeats; ++r) {
    trackNs = std::min(trackNs, nanosecondsPerQuery([&] {
      float sum = 0.0f;
      for (float time : data.queries) {
        data.track.update(time);
        sum += firstFloat(data.track.value);
      }
      sink = sink + sum;
    }));
    plainNs = std::min(plainNs, nanosecondsPerQuery([&] {
      float sum = 0.0f;
      for (float time : data.queries) sum += firstFloat(plainUpdate(data, time));
      sink = sink + sum;
    }));
  }
  std::printf("(c) %s::update, %d keys, random times: %.1f ns per update; plain upper_bound and blend %.1f ns: "
              "ratio %.2f (checksum %g)\n",
              name, kKeys, trackNs, plainNs, trackNs / plainNs, static_cast<double>(sink));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    std::printf("usage: bench_linear\n\nTimes Linear<T>::update on a track of %d keys at %d random times (best of %d).\n",
                kKeys, kQueries, kRepeats);
    return std::string(argv[1]) == "--help" ? 0 : 2;
  }
  const bool ok = measure<vect3>("Linear<vect3>") && measure<quat>("Linear<quat>");
  return ok ? 0 : 1;
}
