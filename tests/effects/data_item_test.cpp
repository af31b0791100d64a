#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <memory>

#include "driver/data_item.h"
#include "driver/driver_kmt.h"
#include "driver/host/project.h"
#include "io/persistence.h"
#include "materials/texture_bitmap_file.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/effects/effect_support.h"

namespace {

using DataItems = tstest::EffectTest;

const char* const kSceneDescription = "a ts3d 2 scene (should see how much data there is in).";

// A scene with one camera, written to path.
void writeScene(const std::string& path) {
  scenebuild::SceneBuilder builder;
  builder.camera(builder.node(builder.root(), ts3d::vect3(0, 0, 5)), 1.0f);
  std::string error;
  ASSERT_TRUE(builder.write(path, 0, &error)) << error;
}

class RecordingVisitor : public ItemVisitor {
 public:
  void visitEffect(TimelineItem*) override { ++effects; }
  void visitData(DataItem* item) override { visited = item; }
  DataItem* visited = nullptr;
  int effects = 0;
};

TEST_F(DataItems, NamesAreTheTextBehindTheLastBackslash) {
  EXPECT_EQ(filePartOf("c:\\work\\pictures\\sky.png"), "sky.png");
  EXPECT_EQ(filePartOf("sky.png"), "sky.png");
  EXPECT_EQ(filePartOf("pictures/sky.png"), "pictures/sky.png") << "a forward slash is no separator";
  EXPECT_EQ(filePartOf("mixed/dir\\sky.png"), "sky.png");
  EXPECT_EQ(filePartOf("folder\\"), "");
  EXPECT_EQ(filePartOf(""), "");

  ASSERT_TRUE(CreateDirectoryA("fx_items", nullptr) || GetLastError() == ERROR_ALREADY_EXISTS);
  const std::string picture = "fx_items\\sky.png", scenePath = "fx_items\\two.dots.ts2";
  ASSERT_TRUE(tstest::writeFile(picture, tstest::solidPng(4, 4, 10, 20, 30)));
  writeScene(scenePath);

  std::unique_ptr<DataItem> texture(theDriver.loadData(picture));
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(texture->kind(), 1);
  EXPECT_EQ(texture->typeName(), "data_texture");
  EXPECT_EQ(texture->name(), "sky.png");
  EXPECT_EQ(texture->path(), picture);
  EXPECT_EQ(texture->description(), picture);
  ASSERT_NE(static_cast<DataTexture*>(texture.get())->payload, nullptr);
  EXPECT_NE(static_cast<DataTexture*>(texture.get())->payload->deviceTexture.get(), nullptr);

  std::unique_ptr<DataItem> scene(theDriver.loadData(scenePath));
  ASSERT_NE(scene, nullptr);
  EXPECT_EQ(scene->kind(), 2);
  EXPECT_EQ(scene->typeName(), "data_scene");
  EXPECT_EQ(scene->name(), "two.dots.ts2");
  EXPECT_EQ(scene->path(), scenePath);
  EXPECT_EQ(scene->description(), kSceneDescription);
  ASSERT_NE(static_cast<DataScene*>(scene.get())->payload, nullptr);
  EXPECT_EQ(static_cast<DataScene*>(scene.get())->payload->cameras.size(), 1u);

  // Without a backslash the name is the whole path.
  ASSERT_TRUE(tstest::writeFile("fx_plain.png", tstest::solidPng(2, 2, 0, 0, 0)));
  std::unique_ptr<DataItem> plain(theDriver.loadData("fx_plain.png"));
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(plain->name(), "fx_plain.png");

  RecordingVisitor visitor;
  scene->accept(&visitor);
  EXPECT_EQ(visitor.visited, scene.get());
  EXPECT_EQ(visitor.effects, 0);

  std::remove(picture.c_str());
  std::remove(scenePath.c_str());
  std::remove("fx_plain.png");
  RemoveDirectoryA("fx_items");
}

TEST_F(DataItems, ReloadAfterSetNameStillFindsTheFile) {
  const std::string scenePath = "fx_reload.ts2", picture = "fx_reload.png";
  writeScene(scenePath);
  ASSERT_TRUE(tstest::writeFile(picture, tstest::solidPng(4, 4, 255, 0, 0)));

  std::unique_ptr<DataItem> scene(theDriver.loadData(scenePath));
  ASSERT_NE(scene, nullptr);
  scene->setName("renamed scene");
  EXPECT_EQ(scene->name(), "renamed scene");
  EXPECT_EQ(scene->path(), scenePath);
  ASSERT_TRUE(scene->reload());
  EXPECT_EQ(scene->name(), "renamed scene");
  ASSERT_NE(static_cast<DataScene*>(scene.get())->payload, nullptr);
  EXPECT_EQ(static_cast<DataScene*>(scene.get())->payload->cameras.size(), 1u);

  std::unique_ptr<DataItem> texture(theDriver.loadData(picture));
  ASSERT_NE(texture, nullptr);
  texture->setName("renamed picture");
  ASSERT_TRUE(texture->reload());
  EXPECT_EQ(texture->name(), "renamed picture");
  ASSERT_NE(static_cast<DataTexture*>(texture.get())->payload, nullptr);
  EXPECT_NE(static_cast<DataTexture*>(texture.get())->payload->deviceTexture.get(), nullptr);

  // Once the files are gone, the scene has nothing to reload; the texture keeps an object
  // without a device texture.
  std::remove(scenePath.c_str());
  std::remove(picture.c_str());
  EXPECT_FALSE(scene->reload());
  EXPECT_EQ(static_cast<DataScene*>(scene.get())->payload, nullptr);
  EXPECT_TRUE(texture->reload());
  ASSERT_NE(static_cast<DataTexture*>(texture.get())->payload, nullptr);
  EXPECT_EQ(static_cast<DataTexture*>(texture.get())->payload->deviceTexture.get(), nullptr);
}

TEST_F(DataItems, WhatIsNoSceneFileGivesNoSceneItem) {
  const std::string junk = "fx_junk.ts2";
  ASSERT_TRUE(tstest::writeFile(junk, {'n', 'o', 't', ' ', 'a', ' ', 's', 'c', 'e', 'n', 'e'}));
  DataScene scene;
  EXPECT_FALSE(scene.load(junk));
  EXPECT_TRUE(scene.name().empty());
  EXPECT_TRUE(scene.path().empty());
  EXPECT_TRUE(scene.description().empty());
  EXPECT_EQ(scene.payload, nullptr);
  EXPECT_EQ(theDriver.loadData(junk), nullptr);
  EXPECT_EQ(theDriver.loadData("fx_missing.ts2"), nullptr);

  // A persistence file whose root is no scene.
  std::unique_ptr<ts3d::TextureBitmapFile> notAScene(new ts3d::TextureBitmapFile("sky.png", 0));
  std::unique_ptr<tsio::OutStream> out(tsio::openOutStream("fx_texture_root.ts2", 0));
  ASSERT_NE(out, nullptr);
  out->writeObject(notAScene.get());
  out.reset();
  EXPECT_FALSE(scene.load("fx_texture_root.ts2"));
  EXPECT_EQ(scene.payload, nullptr);
  EXPECT_TRUE(scene.name().empty());
  std::remove("fx_texture_root.ts2");

  // A picture that can't be read still gives an item, with a texture object and no device texture.
  std::unique_ptr<DataItem> missing(theDriver.loadData("fx_missing.png"));
  ASSERT_NE(missing, nullptr);
  ASSERT_NE(static_cast<DataTexture*>(missing.get())->payload, nullptr);
  EXPECT_EQ(static_cast<DataTexture*>(missing.get())->payload->deviceTexture.get(), nullptr);

  // Items from an animation file keep empty strings, and have no file to reload.
  DataScene fromAnimation(new ts3d::SceneHierarchy);
  EXPECT_EQ(fromAnimation.typeName(), "data_scene");
  EXPECT_TRUE(fromAnimation.name().empty() && fromAnimation.path().empty() && fromAnimation.description().empty());
  EXPECT_FALSE(fromAnimation.reload());
  DataTexture textureFromAnimation(new ts3d::TextureBitmapFile);
  EXPECT_EQ(textureFromAnimation.typeName(), "data_texture");
  EXPECT_TRUE(textureFromAnimation.name().empty() && textureFromAnimation.path().empty());
  std::remove(junk.c_str());
}

}  // namespace
