#pragma once

// The Direct3D value types that the maths shares with the device. On Windows they
// come from the SDK, so our vectors, matrices and colours pass straight to
// IDirect3DDevice9. The platform-free build defines the same layouts itself: the
// core must compile without any Windows or Direct3D header.

#if defined(_WIN32)

#include <windows.h>
#include <d3d9types.h>

#else

#include <cstdint>

typedef std::int32_t HRESULT;

// A packed colour: A, R, G, B from the high byte down.
typedef std::uint32_t D3DCOLOR;

struct D3DVECTOR {
  float x;
  float y;
  float z;
};

struct D3DCOLORVALUE {
  float r;
  float g;
  float b;
  float a;
};

// Engine code reaches elements both as _11.._44 and as m[row][col], as with the
// SDK's type; that needs the anonymous struct which every compiler we target
// accepts, though ISO C++ does not.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wgnu-anonymous-struct"
#pragma clang diagnostic ignored "-Wnested-anon-types"
#elif defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#endif

struct D3DMATRIX {
  union {
    struct {
      float _11, _12, _13, _14;
      float _21, _22, _23, _24;
      float _31, _32, _33, _34;
      float _41, _42, _43, _44;
    };
    float m[4][4];
  };
};

#if defined(__clang__)
#pragma clang diagnostic pop
#elif defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#endif  // _WIN32

static_assert(sizeof(D3DVECTOR) == 12, "D3DVECTOR is three floats");
static_assert(sizeof(D3DCOLORVALUE) == 16, "D3DCOLORVALUE is four floats");
static_assert(sizeof(D3DMATRIX) == 64, "D3DMATRIX is sixteen floats");
static_assert(sizeof(D3DCOLOR) == 4, "D3DCOLOR is one 32-bit word");
