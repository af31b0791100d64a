#include "context/transform_cache.h"

#include <initializer_list>

#include "gfxhelper/d3dx9math.h"

namespace ts3d {

TransformCache::TransformCache() {
  for (matrix* m : {&world, &view, &projection, &inverseView, &inverseProjection, &worldView, &viewProjection,
                    &worldViewProjection, &inverseWorldView})
    D3DXMatrixIdentity(m);
}

void TransformCache::setWorld(const matrix& m) {
  world = m;
  valid = (valid & ~(kWorldView | kWorldViewProjection | kInverseWorldView)) | kWorld;
}

void TransformCache::setView(const matrix& m) {
  view = m;
  valid = (valid & ~(kInverseView | kWorldView | kViewProjection | kWorldViewProjection | kInverseWorldView)) | kView;
}

void TransformCache::setProjection(const matrix& m) {
  projection = m;
  valid = (valid & ~(kInverseProjection | kViewProjection | kWorldViewProjection)) | kProjection;
}

const matrix& TransformCache::getInverseView() {
  if (!(valid & kInverseView)) {
    D3DXMatrixInverse(&inverseView, nullptr, &view);
    valid |= kInverseView;
    ++computations;
  }
  return inverseView;
}

const matrix& TransformCache::getInverseProjection() {
  if (!(valid & kInverseProjection)) {
    D3DXMatrixInverse(&inverseProjection, nullptr, &projection);
    valid |= kInverseProjection;
    ++computations;
  }
  return inverseProjection;
}

const matrix& TransformCache::getWorldView() {
  if (!(valid & kWorldView)) {
    D3DXMatrixMultiply(&worldView, &world, &view);
    valid |= kWorldView;
    ++computations;
  }
  return worldView;
}

const matrix& TransformCache::getViewProjection() {
  if (!(valid & kViewProjection)) {
    D3DXMatrixMultiply(&viewProjection, &view, &projection);
    valid |= kViewProjection;
    ++computations;
  }
  return viewProjection;
}

const matrix& TransformCache::getWorldViewProjection() {
  if (!(valid & kWorldViewProjection)) {
    // Reuse whichever product is already at hand.
    if ((valid & kViewProjection) && (valid & kWorld))
      D3DXMatrixMultiply(&worldViewProjection, &world, &viewProjection);
    else
      D3DXMatrixMultiply(&worldViewProjection, &getWorldView(), &projection);
    valid |= kWorldViewProjection;
    ++computations;
  }
  return worldViewProjection;
}

const matrix& TransformCache::getInverseWorldView() {
  if (!(valid & kInverseWorldView)) {
    D3DXMatrixInverse(&inverseWorldView, nullptr, &getWorldView());
    valid |= kInverseWorldView;
    ++computations;
  }
  return inverseWorldView;
}

}  // namespace ts3d
