#pragma once

#include <utility>

namespace platform {

// Holds one reference on a COM object and releases it when it goes, so that each holder of
// a device object releases exactly what it took. Move-only: a copy would need an AddRef,
// and nothing here shares a reference.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  // Takes over a reference the caller owns.
  explicit ComPtr(T* object) : pointer(object) {}
  ~ComPtr() { reset(); }
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ComPtr(ComPtr&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    if (this != &other) reset(std::exchange(other.pointer, nullptr));
    return *this;
  }

  T* get() const { return pointer; }
  T* operator->() const { return pointer; }
  explicit operator bool() const { return pointer != nullptr; }

  // Releases the object held and takes over `object`'s reference.
  void reset(T* object = nullptr) {
    T* old = std::exchange(pointer, object);
    if (old) old->Release();
  }

  // Hands the reference to the caller, who then owns it.
  T* release() { return std::exchange(pointer, nullptr); }

  // For the Create* and Get* calls that hand out a reference through a T**: whatever was
  // held is released first.
  T** out() {
    reset();
    return &pointer;
  }

 private:
  T* pointer = nullptr;
};

}  // namespace platform
