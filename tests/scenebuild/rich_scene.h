#pragma once

#include <cstdint>
#include <vector>

#include "scenebuild/scene_builder.h"

namespace tstest {

// Where the rich scene puts things, for tests that look at its pixels. The camera stands at
// (0, 0, 10) looking along -Z with a vertical field of 1 radian, so at depth 10 one unit is
// about 44 pixels of a 640 x 480 target, and (0, 0, 0) falls on pixel (320, 240).
struct RichScene {
  static inline const ts3d::color kHighlight{0.5f, 0.5f, 0.5f, 1.0f};  // the light's specular colour
  static constexpr float kPixelsPerUnit = 240.0f / 5.4630249f;  // 240 / (10 tan 0.5)
  static int column(float x) { return static_cast<int>(320.0f + x * kPixelsPerUnit + 0.5f); }
  static int row(float y) { return static_cast<int>(240.0f - y * kPixelsPerUnit + 0.5f); }
};

// One scene with every kind of object this engine draws so far: a white sphere lit by one
// omni light from +x and in front; an unlit quad textured red on its left half and green on its right,
// whose texture slides along u over time; a cyan child box following its animated, turned parent;
// a look-at node; two half-transparent quads drawn over the child box after the opaque meshes; a
// mesh of composite geometry; one of composite geometry under a composite material; a mirror
// renderer over a quad; a box beyond the far plane, whose stencil shadow falls out of sight;
// ambient light and fog that change no material's colour, a sky box as blue as the clear colour,
// a billboard above the sphere and a cube texture from a DDS cube file that nothing draws;
// a skinned arm whose forearm bends down a quarter turn. Times 0 to 1.
void buildRichScene(scenebuild::SceneBuilder& builder);

// Lit, but only the emissive colour shows: a flat colour whose alpha is the diffuse alpha.
// (Unlit geometry without vertex colours would come out white.)
scenebuild::MaterialSettings flat(const ts3d::color& colour, float alpha = 1.0f);

// A 4 x 2 PNG: two red columns, then two green ones.
std::vector<uint8_t> redGreenPng();

// An edge x edge DDS cube file of A8R8G8B8 texels: `texels` holds the faces in the file's
// order (+X, -X, +Y, -Y, +Z, -Z), each row by row from the top.
std::vector<uint8_t> cubeDds(uint32_t edge, const std::vector<uint32_t>& texels);

}  // namespace tstest
