#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "materials/texture_bitmap_file.h"
#include "tests/materials/material_support.h"

// TXBF on streams: by name or embedded, the normal-map flag, empty data, versions, hostile
// sizes; and embed, which reads a file once.
namespace {

using ts3d::TextureBitmapFile;
using tstest::Bytes;

class TextureBitmapFileTest : public tstest::MaterialChunkTest {};

TEST_F(TextureBitmapFileTest, ByNameRoundTripKeepsTheNameAndTheNormalMapFlag) {
  TextureBitmapFile plain("images/wall.png", 2);
  EXPECT_EQ(plain.creationTag(), 2);
  EXPECT_EQ(plain.dimension(), 1u);
  EXPECT_EQ(plain.d3dTexture(), nullptr);
  const Bytes file = tstest::storeToBytes(&plain, 0);
  EXPECT_EQ(tstest::wordAt(file, tstest::kRootBodyAt), 0u) << "neither embedded nor a normal map";
  EXPECT_EQ(std::string(file.begin() + tstest::kRootBodyAt + 4, file.end()), std::string("images/wall.png") + '\0');

  plain.setAsNormalMap(true);
  const Bytes normal = tstest::storeToBytes(&plain, 0);
  EXPECT_EQ(tstest::wordAt(normal, tstest::kRootBodyAt), TextureBitmapFile::kFlagNormalMap);
  std::unique_ptr<TextureBitmapFile> back = tstest::loadAs<TextureBitmapFile>(normal);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->fileName, "images/wall.png");
  EXPECT_TRUE(back->asNormalMap);
  EXPECT_TRUE(back->fileData.empty());
  EXPECT_EQ(back->creationTag(), 0) << "a texture from a chunk has tag 0";
}

TEST_F(TextureBitmapFileTest, EmbeddedRoundTripKeepsTheBytesAndDropsTheName) {
  TextureBitmapFile embedded("lost.png", 0);
  embedded.fileData = {0x89, 'P', 'N', 'G', 0, 7};
  const Bytes file = tstest::storeToBytes(&embedded, 0);
  EXPECT_EQ(tstest::wordAt(file, tstest::kRootBodyAt), TextureBitmapFile::kFlagEmbedded);
  EXPECT_EQ(tstest::wordAt(file, tstest::kRootBodyAt + 4), 6u);
  std::unique_ptr<TextureBitmapFile> back = tstest::loadAs<TextureBitmapFile>(file);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->fileData, embedded.fileData);
  EXPECT_TRUE(back->fileName.empty());
  EXPECT_FALSE(back->asNormalMap);

  // Bit 1 travels with embedded data as well.
  embedded.asNormalMap = true;
  back = tstest::roundTrip(embedded);
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(back->asNormalMap);
  EXPECT_EQ(back->fileData, embedded.fileData);
}

TEST_F(TextureBitmapFileTest, EmptyEmbeddedDataReadsAsNotEmbeddedAndStoresAnEmptyName) {
  tstest::ByteWriter body;
  body.u32(TextureBitmapFile::kFlagEmbedded).u32(0);
  std::unique_ptr<TextureBitmapFile> back = tstest::loadAs<TextureBitmapFile>(tstest::fileOf("TXBF", 1, body.bytes));
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(back->fileData.empty());
  EXPECT_TRUE(back->fileName.empty());
  const Bytes stored = tstest::storeToBytes(back.get(), 0);
  ASSERT_EQ(stored.size(), tstest::kRootBodyAt + 5) << "flags and the empty name's terminator";
  EXPECT_EQ(tstest::wordAt(stored, tstest::kRootBodyAt), 0u);
  EXPECT_EQ(stored.back(), 0);
}

TEST_F(TextureBitmapFileTest, OtherVersionsAndImpossibleSizesAreRefused) {
  TextureBitmapFile named("a.png", 0);
  const Bytes good = tstest::storeToBytes(&named, 0);
  // Another version is left unread: the object stays empty.
  for (uint16_t version : {0, 2, 3}) {
    SCOPED_TRACE(version);
    std::unique_ptr<TextureBitmapFile> back = tstest::loadAs<TextureBitmapFile>(tstest::withRootVersion(good, version));
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(back->fileName.empty());
  }
  // Sizes beyond the body, negative ones among them, fail before anything is sized.
  for (uint32_t size : {7u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
    tstest::ByteWriter body;
    body.u32(TextureBitmapFile::kFlagEmbedded).u32(size).u8(1).u8(2).u8(3);
    tstest::RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(tstest::fileOf("TXBF", 1, body.bytes)));
    EXPECT_EQ(root, nullptr) << "size " << size;
    EXPECT_EQ(tracer.count('b'), 1u) << "one message names the fault";
  }
  // A body that ends inside the flags.
  tstest::ByteWriter shortBody;
  shortBody.u8(1).u8(0);
  tstest::RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(tstest::fileOf("TXBF", 1, shortBody.bytes)));
  EXPECT_EQ(root, nullptr);
}

TEST_F(TextureBitmapFileTest, EmbedReadsTheFileOnceAndWarnsWhenItIsMissing) {
  const Bytes contents = {'B', 'M', 1, 2, 3, 4, 5};
  TextureBitmapFile texture("mat_embed_once.bmp", 0);
  {
    tstest::TempFile file(texture.fileName, contents);
    tstest::RecordingTracer tracer;
    EXPECT_TRUE(texture.embed());
    EXPECT_EQ(tracer.count('w'), 0u);
  }
  EXPECT_EQ(texture.fileData, contents);
  // The file is gone now: an embedded texture doesn't look at the disk again.
  tstest::RecordingTracer tracer;
  EXPECT_TRUE(texture.embed());
  EXPECT_EQ(texture.fileData, contents);
  EXPECT_EQ(tracer.count('w'), 0u);

  TextureBitmapFile missing("mat_no_such_file.png", 0);
  EXPECT_FALSE(missing.embed());
  ASSERT_EQ(tracer.count('w'), 1u);
  EXPECT_EQ(tracer.texts('w')[0], "texture \"mat_no_such_file.png\" not embeddable.");
  EXPECT_TRUE(missing.fileData.empty());
  // The chunk then keeps the name.
  std::unique_ptr<TextureBitmapFile> back = tstest::roundTrip(missing);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->fileName, "mat_no_such_file.png");
}

}  // namespace
