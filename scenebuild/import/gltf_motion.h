#pragma once

// Animations and skins of a glTF file, read into the intermediate model. Platform-free.

#include <cstddef>
#include <string>

#include "scenebuild/import/model.h"

namespace tinygltf {
class Model;
}

namespace tsimport {

class DecodeBudget;

// Fills each node's animation from the channels of all the file's animations, the skins, and
// the influences of every skinned mesh part. Expects the nodes and meshes already read from
// the same file. Step samplers become two keys per step, the second one float step before the
// next key's time, so that no frame time can fall between them; cubic splines are sampled
// into linear keys (kCubicSamplesPerSecond). Channels that move morph targets only warn.
// Key times that go back are refused, not sorted: the values in between would be guesses.
// Values pass through conversion; every accessor read counts against budget. Returns false
// with error naming the animation, channel, sampler, skin or mesh at fault.
bool readMotion(const tinygltf::Model& gltf, const Conversion& conversion, DecodeBudget& budget, Model& model,
                std::string& error);

// Cubic splines become this many linear keys per second of animation (and at least one per
// segment): smooth at the frame rates a demo runs at.
constexpr float kCubicSamplesPerSecond = 60.0f;

// What an Influence's 8-bit joint numbers can name.
constexpr size_t kMaxSkinJoints = 256;

}  // namespace tsimport
