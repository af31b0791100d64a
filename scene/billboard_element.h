#pragma once

#include "io/stream.h"
#include "scene/controller/animatable.h"
#include "scene/controller/controller.h"

namespace ts3d {

class Transformation;

// One billboard of an AtmosphericBillboard: where it stands and its side. Held by value in its
// owner, without a chunk of its own: the owner's body holds object transformation, then
// object sizeController.
class BillboardElement : public Animatable {
 public:
  BillboardElement() = default;
  ~BillboardElement() override { delete sizeController; }
  // The owner's vector moves its elements: the controller goes along.
  BillboardElement(BillboardElement&& other) noexcept;
  BillboardElement(const BillboardElement&) = delete;
  BillboardElement& operator=(const BillboardElement&) = delete;
  BillboardElement& operator=(BillboardElement&&) = delete;

  void update(float time) override { updateControllers(time); }
  virtual bool load(tsio::InStream& in);
  virtual void store(tsio::OutStream& out);

  Transformation* transformation = nullptr;               // not owned
  controller::ControllerBase<float>* sizeController = nullptr;  // owned
};

}  // namespace ts3d
