#include "scenebuild/import/gltf_motion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "scenebuild/import/gltf_accessor.h"
#include "scenebuild/import/tinygltf.h"

namespace tsimport {

namespace {

enum class Interpolation { kLinear, kStep, kCubic };

// Keys of one channel as the file's floats, a fixed number of components per key.
struct RawKeys {
  std::vector<float> times;
  std::vector<float> values;
};

// No sampled track grows beyond this many keys, whatever times a file claims: a cubic spline
// over a hostile length would otherwise ask for memory without bound.
constexpr size_t kMaxSampledKeys = size_t{1} << 20;

void appendKey(RawKeys& keys, float time, const float* value, size_t components) {
  keys.times.push_back(time);
  keys.values.insert(keys.values.end(), value, value + components);
}

// Each value holds until the next key's time, where the next value takes over at once: a
// second key one float step before that time repeats the value, and as no float lies
// between the two keys, no time ever sees a blend of the values.
RawKeys stepKeys(const RawKeys& in, size_t components) {
  RawKeys out;
  const size_t n = in.times.size();
  for (size_t k = 0; k < n; ++k) {
    const float* value = &in.values[k * components];
    appendKey(out, in.times[k], value, components);
    if (k + 1 == n) break;
    const float hold = std::nextafter(in.times[k + 1], -INFINITY);
    if (hold > in.times[k]) appendKey(out, hold, value, components);
  }
  return out;
}

// Each key of a cubic spline holds an in-tangent, the value and an out-tangent. Every segment
// is sampled at kCubicSamplesPerSecond (at least once) along its Hermite curve, and the
// last key's value closes the track.
bool cubicKeys(const RawKeys& in, size_t components, RawKeys& out, std::string& error) {
  const size_t n = in.times.size();
  std::vector<size_t> steps(n - 1);
  size_t total = 1;
  for (size_t k = 0; k + 1 < n; ++k) {
    const double length = static_cast<double>(in.times[k + 1]) - in.times[k];
    // Clamped as a double first: a gap of 1e30 seconds would not fit the integer at all.
    steps[k] = static_cast<size_t>(
        std::min(std::max(1.0, std::ceil(length * kCubicSamplesPerSecond)), static_cast<double>(kMaxSampledKeys) + 1));
    total += steps[k];
    if (total > kMaxSampledKeys) {
      error = "a cubic spline too long to sample (more than " + std::to_string(kMaxSampledKeys) + " keys)";
      return false;
    }
  }
  const size_t stride = 3 * components;
  std::vector<float> sample(components);
  for (size_t k = 0; k + 1 < n; ++k) {
    const float start = in.times[k];
    const float length = in.times[k + 1] - start;
    const float* value0 = &in.values[k * stride + components];
    const float* out0 = &in.values[k * stride + 2 * components];
    const float* in1 = &in.values[(k + 1) * stride];
    const float* value1 = &in.values[(k + 1) * stride + components];
    for (size_t j = 0; j < steps[k]; ++j) {
      const float s = static_cast<float>(j) / static_cast<float>(steps[k]);
      const float s2 = s * s, s3 = s2 * s;
      const float h00 = 2 * s3 - 3 * s2 + 1, h10 = s3 - 2 * s2 + s, h01 = -2 * s3 + 3 * s2, h11 = s3 - s2;
      for (size_t c = 0; c < components; ++c)
        sample[c] = h00 * value0[c] + h10 * length * out0[c] + h01 * value1[c] + h11 * length * in1[c];
      appendKey(out, start + s * length, sample.data(), components);
    }
  }
  appendKey(out, in.times[n - 1], &in.values[(n - 1) * stride + components], components);
  return true;
}

bool fail(std::string& error, const std::string& where, const std::string& why) {
  error = where + ": " + why;
  return false;
}

// A sampler's keys as linear keys: times ascending (equal times make a jump), values of
// components floats each.
bool readSampler(const tinygltf::Model& gltf, const tinygltf::AnimationSampler& sampler, size_t components,
                 DecodeBudget& budget, RawKeys& keys, std::string& error) {
  Interpolation kind;
  if (sampler.interpolation == "LINEAR")
    kind = Interpolation::kLinear;
  else if (sampler.interpolation == "STEP")
    kind = Interpolation::kStep;
  else if (sampler.interpolation == "CUBICSPLINE")
    kind = Interpolation::kCubic;
  else
    return fail(error, "interpolation", "unknown kind \"" + sampler.interpolation + "\"");
  RawKeys read;
  if (!readFloats(gltf, sampler.input, 1, budget, read.times, error) ||
      !readFloats(gltf, sampler.output, static_cast<int>(components), budget, read.values, error))
    return false;
  const size_t perKey = kind == Interpolation::kCubic ? 3 : 1;
  if (read.times.empty()) return fail(error, "input", "no key times");
  if (read.values.size() != read.times.size() * perKey * components)
    return fail(error, "output", std::to_string(read.values.size() / components) + " values for " +
                                     std::to_string(read.times.size()) + " key times");
  for (size_t k = 0; k < read.times.size(); ++k) {
    if (!std::isfinite(read.times[k]))
      return fail(error, "input", "key time " + std::to_string(k) + " is not a number");
    if (k > 0 && read.times[k] < read.times[k - 1])
      return fail(error, "input", "key time " + std::to_string(k) + " is earlier than the one before");
  }
  for (float value : read.values)
    if (!std::isfinite(value)) return fail(error, "output", "a value that is not a finite number");
  if (kind == Interpolation::kLinear)
    keys = std::move(read);
  else if (kind == Interpolation::kStep)
    keys = stepKeys(read, components);
  else
    return cubicKeys(read, components, keys, error);
  return true;
}

template <class T, class Convert>
void fillTrack(const RawKeys& keys, size_t components, Track<T>& track, Convert convert) {
  track.times = keys.times;
  track.values.clear();
  for (size_t k = 0; k < keys.times.size(); ++k) track.values.push_back(convert(&keys.values[k * components]));
}

// One channel into its node's track. The first channel to move a node's property wins; later
// ones, those of morph targets and those without a node (which extensions may target
// elsewhere) only warn.
bool readChannel(const tinygltf::Model& gltf, const Conversion& conversion, const tinygltf::Animation& animation,
                 const tinygltf::AnimationChannel& channel, const std::string& where, DecodeBudget& budget,
                 Model& model, std::string& error) {
  const bool position = channel.target_path == "translation", rotation = channel.target_path == "rotation",
             scale = channel.target_path == "scale";
  if ((!position && !rotation && !scale) || channel.target_node < 0) {
    model.warnings.push_back(where + ": " + channel.target_path + " channel dropped");
    return true;
  }
  if (static_cast<size_t>(channel.target_node) >= model.nodes.size())
    return fail(error, where, "node " + std::to_string(channel.target_node) + " does not exist");
  if (channel.sampler < 0 || static_cast<size_t>(channel.sampler) >= animation.samplers.size())
    return fail(error, where, "sampler " + std::to_string(channel.sampler) + " does not exist");
  NodeAnimation& moved = model.nodes[static_cast<size_t>(channel.target_node)].animation;
  if (!(position ? moved.position.times : rotation ? moved.rotation.times : moved.scale.times).empty()) {
    model.warnings.push_back(where + ": the node's " + channel.target_path + " is animated already; dropped");
    return true;
  }
  const size_t components = rotation ? 4 : 3;
  RawKeys keys;
  if (!readSampler(gltf, animation.samplers[static_cast<size_t>(channel.sampler)], components, budget, keys, error))
    return fail(error, where + " sampler " + std::to_string(channel.sampler), error);
  if (position) {
    fillTrack(keys, components, moved.position, [&](const float* v) { return conversion.position(v[0], v[1], v[2]); });
  } else if (scale) {
    fillTrack(keys, components, moved.scale, [&](const float* v) { return conversion.scaleFactors(v[0], v[1], v[2]); });
  } else {
    for (size_t k = 0; k < keys.times.size(); ++k) {
      const float* v = &keys.values[k * components];
      if (v[0] * v[0] + v[1] * v[1] + v[2] * v[2] + v[3] * v[3] <= 0.0f)
        return fail(error, where, "rotation key " + std::to_string(k) + " has no length");
    }
    fillTrack(keys, components, moved.rotation, [&](const float* v) {
      ts3d::quat turned = conversion.rotation(v[0], v[1], v[2], v[3]);
      D3DXQuaternionNormalize(&turned, &turned);
      return turned;
    });
  }
  return true;
}

bool readSkins(const tinygltf::Model& gltf, const Conversion& conversion, DecodeBudget& budget, Model& model,
               std::string& error) {
  model.skins.clear();
  for (size_t s = 0; s < gltf.skins.size(); ++s) {
    const tinygltf::Skin& source = gltf.skins[s];
    const std::string where = "skin " + std::to_string(s);
    if (source.joints.empty()) return fail(error, where, "no joints");
    if (source.joints.size() > kMaxSkinJoints)
      return fail(error, where, std::to_string(source.joints.size()) + " joints, more than " +
                                    std::to_string(kMaxSkinJoints));
    Skin skin;
    for (int joint : source.joints) {
      if (joint < 0 || static_cast<size_t>(joint) >= model.nodes.size())
        return fail(error, where, "joint node " + std::to_string(joint) + " does not exist");
      skin.joints.push_back(joint);
    }
    ts3d::matrix identity;
    D3DXMatrixIdentity(&identity);
    skin.inverseBind.assign(skin.joints.size(), identity);
    if (source.inverseBindMatrices >= 0) {
      std::vector<float> matrices;
      if (!readFloats(gltf, source.inverseBindMatrices, 16, budget, matrices, error)) return fail(error, where, error);
      if (matrices.size() < 16 * skin.joints.size())
        return fail(error, where, std::to_string(matrices.size() / 16) + " inverse bind matrices for " +
                                      std::to_string(skin.joints.size()) + " joints");
      for (size_t j = 0; j < skin.joints.size(); ++j) skin.inverseBind[j] = conversion.matrix(&matrices[16 * j]);
    }
    model.skins.push_back(std::move(skin));
  }
  return true;
}

// JOINTS_n / WEIGHTS_n pairs read: four influences each.
constexpr size_t kMaxInfluenceSets = 2;

// The four strongest of a vertex's influences, their weights summing to 1; with no weight at
// all, its first joint alone. Ties keep the file's order.
Influence strongest(const uint32_t* joints, const float* weights, size_t count) {
  std::array<size_t, 4 * kMaxInfluenceSets> order;
  for (size_t i = 0; i < count; ++i) order[i] = i;
  // NaN and negative weights count as none.
  const auto weightOf = [&](size_t i) { return weights[i] > 0.0f ? weights[i] : 0.0f; };
  std::stable_sort(order.begin(), order.begin() + count,
                   [&](size_t a, size_t b) { return weightOf(a) > weightOf(b); });
  Influence chosen{};
  float total = 0.0f;
  for (size_t k = 0; k < 4; ++k) {
    chosen.joints[k] = static_cast<uint8_t>(joints[order[k]]);
    chosen.weights[k] = weightOf(order[k]);
    total += chosen.weights[k];
  }
  if (total > 0.0f) {
    for (float& weight : chosen.weights) weight /= total;
  } else {
    chosen = Influence{{static_cast<uint8_t>(joints[0]), 0, 0, 0}, {1.0f, 0.0f, 0.0f, 0.0f}};
  }
  return chosen;
}

// The influences of every vertex of a primitive, joint numbers checked against the skin's.
bool readInfluences(const tinygltf::Model& gltf, const tinygltf::Primitive& primitive, size_t skinJoints,
                    DecodeBudget& budget, std::vector<Influence>& out, std::string& error) {
  std::vector<uint32_t> joints[kMaxInfluenceSets];
  std::vector<float> weights[kMaxInfluenceSets];
  size_t sets = 0;
  for (; sets < kMaxInfluenceSets; ++sets) {
    const std::string n = std::to_string(sets);
    const auto j = primitive.attributes.find("JOINTS_" + n), w = primitive.attributes.find("WEIGHTS_" + n);
    if (j == primitive.attributes.end() || w == primitive.attributes.end()) break;
    if (!readUnsigned(gltf, j->second, 4, budget, joints[sets], error) ||
        !readFloats(gltf, w->second, 4, budget, weights[sets], error))
      return false;
    if (joints[sets].size() != joints[0].size() || weights[sets].size() != joints[0].size())
      return fail(error, "JOINTS_" + n, "joint and weight counts disagree");
    for (uint32_t joint : joints[sets])
      if (joint >= skinJoints)
        return fail(error, "JOINTS_" + n, "joint " + std::to_string(joint) + " past the skin's " +
                                              std::to_string(skinJoints));
  }
  out.clear();
  const size_t vertices = sets ? joints[0].size() / 4 : 0;
  uint32_t vertexJoints[4 * kMaxInfluenceSets];
  float vertexWeights[4 * kMaxInfluenceSets];
  for (size_t v = 0; v < vertices; ++v) {
    for (size_t s = 0; s < sets; ++s) {
      std::copy_n(&joints[s][4 * v], 4, vertexJoints + 4 * s);
      std::copy_n(&weights[s][4 * v], 4, vertexWeights + 4 * s);
    }
    out.push_back(strongest(vertexJoints, vertexWeights, 4 * sets));
  }
  return true;
}

// The parts of every mesh that a skinned node shows take their vertices' influences; each of
// them must have some.
bool readSkinnedParts(const tinygltf::Model& gltf, DecodeBudget& budget, Model& model, std::string& error) {
  for (const Node& node : model.nodes) {
    if (node.skin < 0) continue;
    const size_t skinJoints = model.skins[static_cast<size_t>(node.skin)].joints.size();
    for (int mesh : node.meshes) {
      const tinygltf::Mesh& source = gltf.meshes[static_cast<size_t>(mesh)];
      // A primitive split into several parts is read once for them all.
      int primitiveRead = -1;
      std::vector<Influence> influences;
      for (MeshPart& part : model.meshes[static_cast<size_t>(mesh)].parts) {
        const std::string where = "mesh " + std::to_string(mesh) + " primitive " + std::to_string(part.sourcePrimitive);
        if (part.sourcePrimitive != primitiveRead) {
          influences.clear();
          if (!readInfluences(gltf, source.primitives[static_cast<size_t>(part.sourcePrimitive)], skinJoints, budget,
                              influences, error))
            return fail(error, where, error);
          primitiveRead = part.sourcePrimitive;
        }
        if (influences.empty()) return fail(error, where, "skinned, but without JOINTS_0 and WEIGHTS_0");
        part.influences.clear();
        for (uint32_t vertex : part.sourceVertices) {
          if (vertex >= influences.size())
            return fail(error, where, "vertex " + std::to_string(vertex) + " has no joints");
          part.influences.push_back(influences[vertex]);
        }
      }
    }
  }
  return true;
}

}  // namespace

bool readMotion(const tinygltf::Model& gltf, const Conversion& conversion, DecodeBudget& budget, Model& model,
                std::string& error) {
  if (model.nodes.size() != gltf.nodes.size()) return fail(error, "nodes", "not read from this file");
  for (size_t a = 0; a < gltf.animations.size(); ++a) {
    const tinygltf::Animation& animation = gltf.animations[a];
    for (size_t c = 0; c < animation.channels.size(); ++c)
      if (!readChannel(gltf, conversion, animation, animation.channels[c],
                       "animation " + std::to_string(a) + " channel " + std::to_string(c), budget, model, error))
        return false;
  }
  return readSkins(gltf, conversion, budget, model, error) && readSkinnedParts(gltf, budget, model, error);
}

}  // namespace tsimport
