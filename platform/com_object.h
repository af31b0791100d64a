#pragma once

#include <windows.h>

#include <atomic>

namespace platform {

// The IUnknown half of a COM object of ours: reference counted from one, deleted as Derived
// when the last reference goes. Only IUnknown's id is answered: our interfaces have no ids.
// Derived keeps its destructor private and befriends this class, so that only Release deletes.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
template <class Derived, class Interface>
class ComObject : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    if (!IsEqualGUID(iid, kUnknown)) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<IUnknown*>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references;
    if (left == 0) delete static_cast<Derived*>(this);
    return left;
  }

 protected:
  ~ComObject() = default;

 private:
  // IID_IUnknown, written out: the import library that defines it is not always linked.
  static constexpr GUID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  std::atomic<ULONG> references{1};
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

}  // namespace platform
