#include "io/chunk_format.h"

#include <map>
#include <utility>

#include "io/stream.h"

namespace tsio::layout {

uint32_t fixedBytes(Kind kind) {
  switch (kind) {
    case Kind::Int8: case Kind::Uint8: case Kind::Bool: return 1;
    case Kind::Int16: case Kind::Uint16: return 2;
    case Kind::Int32: case Kind::Uint32: case Kind::Float: case Kind::Count: return 4;
    case Kind::Double: return 8;
    case Kind::Vect3: return 12;
    case Kind::Quat: case Kind::Color: return 16;
    case Kind::Matrix: return 64;
    default: return 0;
  }
}

Field value(Kind kind, const char* name) { return Field{kind, name}; }
Field flags(Kind kind, const char* name, std::initializer_list<Flag> bits) {
  Field field{kind, name};
  field.flags = bits;
  return field;
}
Field count(const char* name) { return Field{Kind::Count, name}; }
Field bytes(const char* name, const char* countField) {
  Field field{Kind::Bytes, name};
  field.count = countField;
  return field;
}
Field object(const char* name) { return Field{Kind::Object, name}; }
Field array(const char* name, const char* countField, std::vector<Field> items) {
  Field field{Kind::Array, name, std::move(items)};
  field.count = countField;
  return field;
}
Field repeat(const char* name, uint32_t times, std::vector<Field> items) {
  Field field{Kind::Array, name, std::move(items)};
  field.times = times;
  return field;
}
Field counted(const char* name, std::vector<Field> items) { return Field{Kind::Array, name, std::move(items)}; }
Field list(const char* name) { return counted(name, {object("")}); }
Field group(const char* name, std::vector<Field> items) { return Field{Kind::Group, name, std::move(items)}; }
Field tree(const char* name, uint32_t nodeCode) {
  Field field{Kind::Tree, name};
  field.code = nodeCode;
  return field;
}

Field when(Condition condition, Field field) {
  field.when = condition;
  return field;
}
Condition allBits(const char* field, uint32_t bits) { return {Condition::Test::AllBits, field, bits}; }
Condition noBits(const char* field, uint32_t bits) { return {Condition::Test::NoBits, field, bits}; }
Condition equals(const char* field, int64_t value) { return {Condition::Test::Equals, field, value}; }
Condition versionAtLeast(int version) { return {Condition::Test::VersionAtLeast, nullptr, version}; }
Condition versionIs(int version) { return {Condition::Test::VersionIs, nullptr, version}; }

namespace {

Field f32(const char* name) { return value(Kind::Float, name); }
Field i32(const char* name) { return value(Kind::Int32, name); }
Field u32(const char* name) { return value(Kind::Uint32, name); }
Field u8(const char* name) { return value(Kind::Uint8, name); }
Field boolean(const char* name) { return value(Kind::Bool, name); }
Field matrix(const char* name) { return value(Kind::Matrix, name); }

// The body of a simple geometry, which a weighted geometry holds too.
std::vector<Field> geometrySimpleBody() {
  constexpr uint32_t kVertices = 0x1, kFaces = 0x2, kRecords = 0x4;
  return {
      flags(Kind::Int32, "flags",
            {{kVertices, "vertices"}, {kFaces, "faces"}, {kRecords, "records"}, {0x10, "face list"},
             {0x100, "positions"}, {0x200, "normals"}, {0x400, "texture channels"}, {0x800, "colours"},
             {0x10000, "dynamic vertices"}, {0x20000, "dynamic indices"}, {0x40000, "tangent space"}}),
      when(allBits("flags", kVertices), count("vertex count")),
      when(allBits("flags", kFaces), count("face count")),
      when(allBits("flags", kVertices | 0x100), array("positions", "vertex count", {value(Kind::Vect3, "")})),
      when(allBits("flags", kVertices | 0x200), array("normals", "vertex count", {value(Kind::Vect3, "")})),
      when(allBits("flags", kVertices | 0x800), array("colours", "vertex count", {value(Kind::Color, "")})),
      when(allBits("flags", kVertices | 0x400),
           counted("texture channels", {array("coordinates", "vertex count", {f32("u"), f32("v")})})),
      when(allBits("flags", kFaces),
           array("faces", "face count",
                 {value(Kind::Uint16, "a"), value(Kind::Uint16, "b"), value(Kind::Uint16, "c")})),
      when(allBits("flags", kRecords), counted("auxiliary records", {repeat("values", 4, {value(Kind::Int16, "")})})),
  };
}

// Inline in a material's body, without a chunk of its own.
Field renderStateBlock() {
  return group(
      "render states",
      {flags(Kind::Uint32, "group mask",
             {{0x01, "vertex blending"}, {0x02, "blending"}, {0x04, "depth"}, {0x08, "stencil"}, {0x10, "lighting"},
              {0x20, "rasteriser"}}),
       when(allBits("group mask", 0x02),
            group("blending", {boolean("alphaBlendEnable"), u8("destBlend"), u8("srcBlend"),
                               boolean("alphaTestEnable"), u8("alphaFunc"), u8("alphaRef"), u32("colorWriteMask")})),
       when(allBits("group mask", 0x04), group("depth", {boolean("zEnable"), u8("depthMode")})),
       when(allBits("group mask", 0x20), group("rasteriser", {u8("cullMode"), u8("fillMode"), boolean("clipping")})),
       when(allBits("group mask", 0x10), group("lighting", {boolean("lighting"), boolean("specularEnable"),
                                                            boolean("normalizeNormals"), boolean("localViewer")})),
       when(allBits("group mask", 0x01), group("vertex blending", {boolean("indexedVertexBlend"), u8("vertexBlend"),
                                                                   boolean("softwareVertexProcessing")})),
       when(allBits("group mask", 0x08),
            group("stencil", {boolean("stencilEnable"), u8("stencilFail"), u8("stencilZFail"), u8("stencilPass"),
                              u8("stencilFunc"), u32("stencilMask"), u32("stencilWriteMask"), u32("stencilRef"),
                              boolean("twoSidedStencil"), u8("ccwStencilFail"), u8("ccwStencilZFail"),
                              u8("ccwStencilPass"), u8("ccwStencilFunc")}))});
}

Field textureStageStateBlock() {
  return group("states", {u8("colorOp"), u8("colorArg1"), u8("colorArg2"), u8("alphaOp"), u8("alphaArg1"),
                          u8("alphaArg2"), u8("addressU"), u8("addressV"), u8("addressW"), u8("magFilter"),
                          u8("minFilter"), u8("mipFilter"), u8("texCoordIndex"), u8("transformCount"),
                          boolean("projected"), matrix("textureMatrix")});
}

// One image of a cube texture: a file name, or the file's bytes.
Field cubeEntry(const char* name) {
  constexpr uint32_t kEmbedded = 0x4;
  return group(name, {when(noBits("flags", kEmbedded), value(Kind::String, "file name")),
                      when(allBits("flags", kEmbedded), count("size")),
                      when(allBits("flags", kEmbedded), bytes("data", "size"))});
}

std::vector<ChunkFormat> makeFormats() {
  const auto keyed = [](Kind kind) { return std::vector<Field>{counted("keys", {f32("time"), value(kind, "value")})}; };
  constexpr int any = kAnyVersion;
  return {
      // Controllers.
      {fourCC("CCFL"), "controller::Const<float>", 1, any, any, {f32("value")}},
      {fourCC("CCV3"), "controller::Const<vect3>", 1, any, any, {value(Kind::Vect3, "value")}},
      {fourCC("CCQU"), "controller::Const<quat>", 1, any, any, {value(Kind::Quat, "value")}},
      {fourCC("CCCO"), "controller::Const<color>", 1, any, any, {value(Kind::Color, "value")}},
      {fourCC("CLFL"), "controller::Linear<float>", 1, any, any, keyed(Kind::Float)},
      {fourCC("CLV3"), "controller::Linear<vect3>", 1, any, any, keyed(Kind::Vect3)},
      {fourCC("CLQU"), "controller::Linear<quat>", 1, any, any, keyed(Kind::Quat)},
      {fourCC("CLCO"), "controller::Linear<color>", 1, any, any, keyed(Kind::Color)},
      {fourCC("CLMT"), "controller::Linear<matrix>", 1, any, any, keyed(Kind::Matrix)},
      {fourCC("CoCF"), "controller::Op<color, color, float>", 1, any, any,
       {i32("operation"), object("left"), object("right")}},
      {fourCC("CVCV"), "controller::Conv<color, vect3>", 1, any, any, {object("source")}},
      // Transformations and the scene.
      {fourCC("TRPR"), "TransformationPRS", 1, 1, 1,
       {value(Kind::Vect3, "position"), value(Kind::Quat, "rotation"), value(Kind::Vect3, "scale")}},
      {fourCC("CPRS"), "ControllerTransformation", 1, any, any,
       {object("positionController"), object("rotationController"), object("scaleController")}},
      {fourCC("CMTX"), "ControllerTransformationMatrix", 1, any, any, {object("matrixController")}},
      {fourCC("HINO"), "HierarchyNode", 1, any, any,
       {flags(Kind::Int32, "has target", {{0x1, "target"}}), when(allBits("has target", 0x1), object("target")),
        when(allBits("has target", 0x1), object("rollController")), object("transformation")}},
      {fourCC("SCHE"), "SceneHierarchy", 2, 0, 2,
       {list("textures"), list("materials"), tree("tree", fourCC("HINO")), list("meshes"), list("cameras"),
        object("activeCamera"), list("lights"), when(versionIs(2), object("shadowLight")), list("atmospheres"),
        list("overlays"), object("background"), list("renderers")}},
      {fourCC("cASM"), "CameraSimple", 1, 1, 1,
       {object("transformation"), object("fovController"), object("nearController"), object("farController"),
        object("clipNearController"), object("rangeFarController")}},
      {fourCC("LTOM"), "LightOmni", 1, 1, 1,
       {object("transformation"), object("ambientController"), object("diffuseController"),
        object("specularController"), object("rangeController"), object("attenuation0Controller"),
        object("attenuation1Controller"), object("attenuation2Controller"), list("includedMeshes"),
        list("shadowMeshes")}},
      {fourCC("ATAM"), "AtmosphericAmbient", 1, 1, 1, {object("colorController")}},
      {fourCC("ATFG"), "AtmosphericFog", 1, 1, 1,
       {boolean("clears"), object("colorController"), object("startController"), object("endController")}},
      {fourCC("ATBG"), "AtmosphericBackground", 1, 1, 1,
       {value(Kind::Int8, "clearFunction"), when(equals("clearFunction", 1), object("colorController")),
        when(equals("clearFunction", 2), object("texture")), when(equals("clearFunction", 3), object("cubemap"))}},
      {fourCC("ATBL"), "AtmosphericBillboard", 1, 1, 1,
       {object("billboard"), counted("elements", {object("transformation"), object("sizeController")})}},
      {fourCC("FPRB"), "particle::Billboard", 1, 1, 1, {object("material")}},
      // Geometry.
      {fourCC("MESM"), "MeshSimple", 2, 0, 2,
       {flags(Kind::Int32, "flags", {{0x1, "geometry"}, {0x2, "modifier stack"}}),
        when(allBits("flags", 0x1), object("geometry")), when(allBits("flags", 0x2), object("modifier stack")),
        boolean("isHidden"), when(versionIs(2), boolean("shadowCaster")), counted("materialIds", {u32("")}),
        object("material"), object("transformation")}},
      {fourCC("GOSM"), "GeometrySimple", 1, any, any, geometrySimpleBody()},
      {fourCC("GOCP"), "GeometryComposite", 1, 1, 1, {list("children")}},
      {fourCC("GOWT"), "GeometryWeighted", 1, any, any,
       {group("GeometrySimple", geometrySimpleBody()),
        counted("records", {repeat("bones", 4, {value(Kind::Int8, "")}), repeat("weights", 3, {f32("")})})}},
      {fourCC("MOST"), "ModifierStack", 1, 1, 1, {list("modifiers")}},
      {fourCC("MDSK"), "ModifierSkin", 1, 1, 1,
       {count("bone count"), array("bones", "bone count", {object("")}),
        array("boneOffsets", "bone count", {matrix("")}), matrix("referenceMatrix")}},
      // Textures and materials.
      {fourCC("TXBF"), "TextureBitmapFile", 1, 1, 1,
       {flags(Kind::Uint32, "flags", {{0x1, "embedded"}, {0x2, "normal map"}}),
        when(noBits("flags", 0x1), value(Kind::String, "fileName")), when(allBits("flags", 0x1), count("data size")),
        when(allBits("flags", 0x1), bytes("data", "data size"))}},
      {fourCC("TXCF"), "TextureCubemapFile", 1, 1, 1,
       {flags(Kind::Uint32, "flags", {{0x1, "key 0"}, {0x2, "keys 1 to 6"}, {0x4, "embedded"}}),
        when(allBits("flags", 0x1), cubeEntry("key 0")),
        when(allBits("flags", 0x2), repeat("keys 1 to 6", 6, {cubeEntry("")}))}},
      {fourCC("TS__"), "TextureStage", 2, 0, 2,
       {object("texture"), textureStageStateBlock(), object("offsetUController"), object("offsetVController"),
        object("tilingUController"), object("tilingVController"), object("angleUController"),
        object("angleVController"), object("angleWController"), when(versionAtLeast(2), u8("mappingMode"))}},
      {fourCC("MTSM"), "MaterialSimple", 2, 0, 2,
       {object("diffuseController"), object("ambientController"), object("specularController"),
        object("emissiveController"), object("powerController"), when(versionAtLeast(2), object("opacityController")),
        renderStateBlock(), u8("orderValue"), list("stages")}},
      {fourCC("MTCP"), "MaterialComposite", 2, 1, 2,
       {list("sub-materials"), when(versionAtLeast(2), counted("ids", {u32("id"), u32("index")}))}},
      {fourCC("MTFX"), "MaterialFX", 1, any, any, {value(Kind::String, "fileName"), object("baseMaterial")}},
      // Scene renderers.
      {fourCC("SRMR"), "SceneRendererMirror", 1, 1, 1, {list("mirrors")}},
      {fourCC("SRSW"), "SceneRendererShadow", 1, 1, 1, {}},
      {fourCC("SRDF"), "SceneRendererDOF", 1, 1, 1,
       {counted("cameras", {object("camera"), object("focusScaleController"), object("focusDistanceController")})}},
      {fourCC("SRCH"), "SceneRendererChannels", 1, 1, 1, {}},
      {fourCC("SRBL"), "SceneRendererBlur", 1, 1, 1, {}},
      // The root of an exported animation.
      {fourCC("stfx"), "ExportedAnimation", 1, any, any,
       {value(Kind::String, "projectText"), counted("textures", {value(Kind::String, "key"), object("texture")}),
        counted("scenes", {value(Kind::String, "key"), object("scene")})}},
  };
}

}  // namespace

const std::vector<ChunkFormat>& chunkFormats() {
  static const std::vector<ChunkFormat> formats = makeFormats();
  return formats;
}

const ChunkFormat* findFormat(uint32_t code) {
  static const std::map<uint32_t, const ChunkFormat*> byCode = [] {
    std::map<uint32_t, const ChunkFormat*> table;
    for (const ChunkFormat& format : chunkFormats()) table[format.code] = &format;
    return table;
  }();
  const auto found = byCode.find(code);
  return found == byCode.end() ? nullptr : found->second;
}

}  // namespace tsio::layout
