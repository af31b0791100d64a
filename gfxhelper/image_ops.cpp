#include "gfxhelper/image_ops.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace gfximage {

namespace {

// The source texels that make one target texel along an axis, with their weights.
struct Taps {
  std::vector<uint32_t> first;
  std::vector<uint32_t> count;
  std::vector<size_t> start;  // into weights
  std::vector<float> weights;
};

void addTap(Taps* taps, uint32_t index, float weight) {
  taps->weights.push_back(weight);
  if (taps->count.back()++ == 0) taps->first.back() = index;
}

Taps buildTaps(uint32_t source, uint32_t target, Filter filter) {
  Taps taps;
  const double scale = static_cast<double>(source) / target;
  for (uint32_t i = 0; i < target; ++i) {
    taps.first.push_back(0);
    taps.count.push_back(0);
    taps.start.push_back(taps.weights.size());
    const double centre = (i + 0.5) * scale;
    if (filter == Filter::Point) {
      const auto index = static_cast<uint32_t>(centre);
      addTap(&taps, index < source ? index : source - 1, 1.0f);
    } else if (filter == Filter::Linear) {
      const double position = centre - 0.5;
      if (position <= 0.0) {
        addTap(&taps, 0, 1.0f);
      } else if (position >= source - 1) {
        addTap(&taps, source - 1, 1.0f);
      } else {
        const auto index = static_cast<uint32_t>(position);
        const auto fraction = static_cast<float>(position - index);
        addTap(&taps, index, 1.0f - fraction);
        addTap(&taps, index + 1, fraction);
      }
    } else {
      const double low = i * scale, high = (i + 1) * scale;
      auto index = static_cast<uint32_t>(low);
      for (; index < source && index < high; ++index) {
        const double from = index > low ? index : low;
        const double to = index + 1.0 < high ? index + 1.0 : high;
        if (to > from) addTap(&taps, index, static_cast<float>((to - from) / (high - low)));
      }
      if (taps.count.back() == 0) addTap(&taps, source - 1, 1.0f);
    }
  }
  return taps;
}

uint8_t toByte(float value) {
  if (!(value > 0.0f)) return 0;
  if (value >= 255.0f) return 255;
  return static_cast<uint8_t>(value + 0.5f);
}

void copyToCorner(const Image& source, Image* target) {
  const uint32_t width = source.width < target->width ? source.width : target->width;
  const uint32_t height = source.height < target->height ? source.height : target->height;
  for (uint32_t y = 0; y < height; ++y) std::memcpy(target->row(y), source.row(y), static_cast<size_t>(width) * 4);
}

// Texel addressing beyond the edges: wrapping or mirroring with the edge texel repeated.
int64_t address(int64_t index, int64_t size, bool mirror) {
  if (index >= 0 && index < size) return index;
  if (!mirror) return ((index % size) + size) % size;
  const int64_t period = 2 * size;
  const int64_t folded = ((index % period) + period) % period;
  return folded < size ? folded : period - 1 - folded;
}

float heightOf(const uint8_t* bgra, uint32_t channel) {
  switch (channel) {
    case kChannelRed:
      return bgra[2] / 255.0f;
    case kChannelGreen:
      return bgra[1] / 255.0f;
    case kChannelBlue:
      return bgra[0] / 255.0f;
    case kChannelAlpha:
      return bgra[3] / 255.0f;
    default:
      return (0.2125f * bgra[2] + 0.7154f * bgra[1] + 0.0721f * bgra[0]) / 255.0f;
  }
}

uint8_t encodeUnit(float value) { return toByte((value * 0.5f + 0.5f) * 255.0f); }

}  // namespace

Result resample(const Image& source, uint32_t width, uint32_t height, Filter filter, Image* target) {
  if (!target || width == 0 || height == 0 || source.width == 0 || source.height == 0 ||
      source.pixels.size() != static_cast<size_t>(source.width) * source.height * 4)
    return Result::failure(Status::InvalidArgument, "resample: empty image or size");
  Image result;
  if (!result.allocate(width, height)) return Result::failure(Status::OutOfMemory, "resample: out of memory");
  if (filter == Filter::None) {
    copyToCorner(source, &result);
    *target = std::move(result);
    return Result::success();
  }
  if (width == source.width && height == source.height) {
    result.pixels = source.pixels;
    *target = std::move(result);
    return Result::success();
  }
  try {
    const Taps across = buildTaps(source.width, width, filter);
    const Taps down = buildTaps(source.height, height, filter);
    std::vector<float> sum(static_cast<size_t>(width) * 4);
    for (uint32_t y = 0; y < height; ++y) {
      std::fill(sum.begin(), sum.end(), 0.0f);
      for (uint32_t tap = 0; tap < down.count[y]; ++tap) {
        const uint8_t* in = source.row(down.first[y] + tap);
        const float rowWeight = down.weights[down.start[y] + tap];
        for (uint32_t x = 0; x < width; ++x) {
          float texel[4] = {0, 0, 0, 0};
          for (uint32_t k = 0; k < across.count[x]; ++k) {
            const uint8_t* at = in + static_cast<size_t>(across.first[x] + k) * 4;
            const float weight = across.weights[across.start[x] + k];
            for (int c = 0; c < 4; ++c) texel[c] += weight * at[c];
          }
          for (int c = 0; c < 4; ++c) sum[x * 4 + c] += rowWeight * texel[c];
        }
      }
      uint8_t* out = result.row(y);
      for (size_t i = 0; i < sum.size(); ++i) out[i] = toByte(sum[i]);
    }
  } catch (...) {
    return Result::failure(Status::OutOfMemory, "resample: out of memory");
  }
  *target = std::move(result);
  return Result::success();
}

Result nextMipLevel(const Image& level, Filter filter, Image* next) {
  return resample(level, mipSize(level.width, 1), mipSize(level.height, 1), filter, next);
}

void applyColorKey(Image* image, uint32_t argb) {
  if (argb == 0 || !image) return;
  const uint8_t key[4] = {static_cast<uint8_t>(argb), static_cast<uint8_t>(argb >> 8), static_cast<uint8_t>(argb >> 16),
                          static_cast<uint8_t>(argb >> 24)};
  for (size_t i = 0; i + 4 <= image->pixels.size(); i += 4)
    if (std::memcmp(image->pixels.data() + i, key, 4) == 0) std::memset(image->pixels.data() + i, 0, 4);
}

Result computeNormalMap(const Image& heights, const NormalMapOptions& options, Image* normals) {
  if (!normals || heights.width == 0 || heights.height == 0 ||
      heights.pixels.size() != static_cast<size_t>(heights.width) * heights.height * 4)
    return Result::failure(Status::InvalidArgument, "normal map: empty height map");
  const uint32_t channel = options.channel;
  if (channel != kChannelRed && channel != kChannelGreen && channel != kChannelBlue && channel != kChannelAlpha &&
      channel != kChannelLuminance)
    return Result::failure(Status::InvalidArgument, "normal map: the height channel must be exactly one channel");
  if (!std::isfinite(options.amplitude)) return Result::failure(Status::InvalidArgument, "normal map: bad amplitude");

  const int64_t width = heights.width, height = heights.height;
  Image result;
  std::vector<float> field;
  try {
    field.resize(static_cast<size_t>(width * height));
  } catch (...) {
    return Result::failure(Status::OutOfMemory, "normal map: out of memory");
  }
  if (!result.allocate(heights.width, heights.height)) return Result::failure(Status::OutOfMemory, "normal map: out of memory");
  for (int64_t y = 0; y < height; ++y)
    for (int64_t x = 0; x < width; ++x)
      field[static_cast<size_t>(y * width + x)] =
          heightOf(heights.texel(static_cast<uint32_t>(x), static_cast<uint32_t>(y)), channel) * options.amplitude;
  auto at = [&](int64_t x, int64_t y) {
    return field[static_cast<size_t>(address(y, height, options.mirrorV) * width + address(x, width, options.mirrorU))];
  };

  static const int kDirections[8][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  static const int kSteps[] = {1, 2, 3, 4, 6, 8, 12, 16};
  const float sign = options.invertSign ? -1.0f : 1.0f;
  for (int64_t y = 0; y < height; ++y) {
    for (int64_t x = 0; x < width; ++x) {
      const float slopeU = (at(x + 1, y) - at(x - 1, y)) * 0.5f;
      const float slopeV = (at(x, y + 1) - at(x, y - 1)) * 0.5f;
      float n[3] = {-slopeU * sign, -slopeV * sign, 1.0f};
      const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
      for (float& component : n) component /= length;
      uint8_t* out = result.texel(static_cast<uint32_t>(x), static_cast<uint32_t>(y));
      out[2] = encodeUnit(n[0]);
      out[1] = encodeUnit(n[1]);
      out[0] = encodeUnit(n[2]);
      out[3] = 255;
      if (!options.occlusion) continue;
      const float here = at(x, y);
      float blocked = 0.0f;
      for (const auto& direction : kDirections) {
        const float reach = std::sqrt(static_cast<float>(direction[0] * direction[0] + direction[1] * direction[1]));
        float steepest = 0.0f;
        for (int step : kSteps) {
          const float rise = at(x + direction[0] * step, y + direction[1] * step) - here;
          const float slope = rise * sign / (reach * static_cast<float>(step));
          if (slope > steepest) steepest = slope;
        }
        blocked += steepest / std::sqrt(1.0f + steepest * steepest);
      }
      out[3] = toByte((1.0f - blocked / 8.0f) * 255.0f);
    }
  }
  *normals = std::move(result);
  return Result::success();
}

void renormalize(Image* normals) {
  if (!normals) return;
  for (size_t i = 0; i + 4 <= normals->pixels.size(); i += 4) {
    uint8_t* texel = normals->pixels.data() + i;
    float n[3] = {texel[2] / 127.5f - 1.0f, texel[1] / 127.5f - 1.0f, texel[0] / 127.5f - 1.0f};
    const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (length < 1e-4f) {
      n[0] = n[1] = 0.0f;
      n[2] = 1.0f;
    } else {
      for (float& component : n) component /= length;
    }
    texel[2] = encodeUnit(n[0]);
    texel[1] = encodeUnit(n[1]);
    texel[0] = encodeUnit(n[2]);
  }
}

}  // namespace gfximage
