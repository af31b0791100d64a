#pragma once

#include <cstdint>
#include <vector>

#include "geometry/geometry.h"
#include "geometry/modifier.h"
#include "io/serializable.h"
#include "scene/controller/animatable.h"

namespace ts3d {

// The modifiers of one mesh in order of application, and beside them the chain of output
// geometries: each geometry-changing modifier reads the output of the one before it, and
// the mesh draws the last one. Entry k of outputs belongs to the k-th modifier whose
// modifiesGeometry is true.
class ModifierStack : public Animatable, public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("MOST");
  static constexpr int32_t kVersion = 1;

  ModifierStack() = default;
  ModifierStack(const ModifierStack&) = delete;
  ModifierStack& operator=(const ModifierStack&) = delete;
  // Outputs first, then the modifiers; source belongs to the mesh.
  ~ModifierStack() override;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  // Steps each modifier and recomputes the outputs; the stack's own controllers aren't
  // stepped.
  void update(float time) override;
  // Sets source and makes every output anew.
  void setSource(Geometry* geometry);
  // Appends a modifier (owned from now on); always true.
  bool add(Modifier* modifier);
  // The last output, or source when there is none.
  Geometry* output() const;
  // setupRender of each modifier that asks for it, in order.
  void setupRender();
  // False without outputs; else device buffers for the last output only.
  bool createResources();

  const std::vector<Modifier*>& modifierList() const { return modifiers; }
  const std::vector<Geometry*>& outputList() const { return outputs; }
  Geometry* sourceGeometry() const { return source; }

 private:
  void deleteOutputs();

  std::vector<Modifier*> modifiers;
  std::vector<Geometry*> outputs;
  Geometry* source = nullptr;
};

}  // namespace ts3d
