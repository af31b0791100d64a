#pragma once

// The host's own view of the plug-in: the driver's objects it calls and its own
// objects the driver calls, each a table of operations in the order the module was
// built against. Calls cross the module by position in these tables, so nothing
// here may be reordered, and no operation may be added in front of one the other
// side calls. Strings and vectors cross as the one library both sides are built with.

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace host {

class DataItem;
class TimelineItem;
class TreeElement;

// ---- The host's objects, which the driver receives and calls ----

// One entry of the effect library, copied by value into the effect. The driver
// reads only the names; kind and initial value are ours, for our factory.
struct ParamChoice {
  std::string label;
  std::string value;
  uint32_t id = 0;
};

struct ParamDescriptor {
  uint32_t kind = 0;
  std::string name;
  std::string initialValue;
  std::vector<ParamChoice> choices;
  uint32_t flags = 0;
};

struct EffectDescriptor {
  uint32_t id = 0;
  std::string name;
  std::string label;
  uint32_t flags = 0;
  std::vector<ParamDescriptor> params;
};

// The animated value of one effect parameter; the effect owns it and deletes it.
class ParamController {
 public:
  enum Kind : int32_t {
    kString = 0,
    kFloat = 1,
    kInteger = 2,
    kIntegerAtReset = 3,  // read only when the effect resets, never during playback
    kData = 4,
  };

  explicit ParamController(int32_t kind_) : kind(kind_) {}
  virtual ~ParamController() = default;
  ParamController(const ParamController&) = delete;
  ParamController& operator=(const ParamController&) = delete;

  virtual void update(float t) = 0;
  virtual bool isFixed() const = 0;
  virtual std::string& stringValue(std::string& out) const = 0;
  virtual float floatValue() const = 0;
  virtual int32_t intValue() const = 0;
  virtual DataItem* dataValue() const = 0;
  virtual bool load(TreeElement* element, uintptr_t context) = 0;

  int32_t kind;
};

// A node of our project tree, through which a saved effect restores its values.
class TreeElement {
 public:
  virtual ~TreeElement() = default;
  virtual const std::string& tag() const = 0;
  virtual size_t childCount() const = 0;
  virtual TreeElement* child(size_t index) const = 0;
  // Gives `out`, filled with the attribute's value, or emptied when there is none.
  virtual std::string& attribute(std::string& out, const std::string& key) const = 0;
};

class ControllerFactory {
 public:
  virtual ~ControllerFactory() = default;
  virtual ParamController* create(TreeElement* element) = 0;
  virtual ParamController* create(const ParamDescriptor& param) = 0;
};

class DataList {
 public:
  virtual ~DataList() = default;
  virtual size_t count() const = 0;
  virtual DataItem* item(size_t index) const = 0;
};

// The whole production, as the animation export sees it.
class Project {
 public:
  virtual ~Project() = default;
  virtual void prepare() = 0;
  virtual void setSoundtrackPath(const std::string& path) = 0;
  virtual const std::string& soundtrackPath() const = 0;
  virtual DataList* dataItems() = 0;
  virtual std::string& text(std::string& out) const = 0;
};

class ItemVisitor {
 public:
  virtual ~ItemVisitor() = default;
  virtual void visitEffect(TimelineItem* item) = 0;
  virtual void visitData(DataItem* item) = 0;
};

// ---- The driver's objects, which we call ----

// An effect on the timeline. We destroy it through destroy().
class TimelineItem {
 public:
  virtual void accept(ItemVisitor* visitor) = 0;
  virtual ~TimelineItem() = default;
  virtual bool isTransition() const = 0;
  // Two tests whose meaning is ours; the driver answers false for every effect.
  virtual bool hostTestA() const = 0;
  virtual bool hostTestB() const = 0;
  virtual float startTime() const = 0;
  virtual void setStartTime(float value) = 0;
  virtual float duration() const = 0;
  virtual void setDuration(float value) = 0;
  virtual float progress(bool* active) const = 0;
  virtual void reset() = 0;
  virtual void beginCapture() = 0;
  virtual void endCapture() = 0;
  virtual void update(uint32_t word, float time) = 0;
  virtual void open() = 0;
  virtual void close() = 0;
  virtual void clearFrame() = 0;
  virtual void render() = 0;
  virtual uint32_t controllerCount() const = 0;
  virtual ParamController* controller(uint32_t index) const = 0;
  virtual std::string& name() = 0;
  virtual void setName(const std::string& value) = 0;
  virtual EffectDescriptor& description() = 0;
  virtual void destroy() = 0;
  virtual bool load(TreeElement* element, uintptr_t context) = 0;
  virtual bool loadWithFactory(TreeElement* element, uintptr_t context, ControllerFactory* factory) = 0;
};

// An effect that joins two inputs: one whose isTransition() is true.
class TransitionBase : public TimelineItem {
 public:
  virtual bool needsInput(int32_t input) = 0;
  virtual void beginInput(int32_t input) = 0;
  virtual int32_t activeInput() const = 0;
};

// A scene or image file loaded by the driver. Ours to delete.
class DataItem {
 public:
  virtual void accept(ItemVisitor* visitor) = 0;
  virtual ~DataItem() = default;
  virtual std::string& name() = 0;
  virtual std::string& path() = 0;
  virtual void setName(const std::string& value) = 0;
  virtual std::string& description() = 0;
  virtual int32_t kind() = 0;
  virtual bool reload() = 0;
  virtual std::string& typeName() = 0;
};

// A data item whose kind() is kSceneItem.
class DataScene : public DataItem {
 public:
  virtual bool load(const std::string& path) = 0;
};

constexpr int32_t kTextureItem = 1;
constexpr int32_t kSceneItem = 2;

// Lives inside the driver object, as long as the module.
class RenderWindow {
 public:
  virtual bool open(HWND window, HMODULE module, uint32_t width, uint32_t height, int32_t bits, bool windowed,
                    int32_t antialias) = 0;
  virtual void close() = 0;
  virtual void drawIdleFrame() = 0;
  virtual void present() = 0;

 protected:
  ~RenderWindow() = default;
};

// Lives inside the driver object. Times are seconds.
class SoundPlayerFMOD {
 public:
  virtual bool init() = 0;
  virtual void shutdown() = 0;
  virtual void openPreview(const std::string& path) = 0;
  virtual void playPreview() = 0;
  virtual void stopPreview() = 0;
  virtual void extractWaveform(std::vector<float>& points, const std::string& path, float rate) = 0;
  virtual float soundtrackTime() = 0;
  virtual void openSoundtrack(const std::string& path) = 0;
  virtual void playSoundtrack() = 0;
  virtual void stopSoundtrack() = 0;
  virtual void seekSoundtrack(float seconds) = 0;
  virtual float position() = 0;
  virtual void messageBox(const char* text) = 0;

 protected:
  ~SoundPlayerFMOD() = default;
};

// The one object the module hands out; it lives as long as the module.
class DriverKMT {
 public:
  virtual int32_t version() = 0;
  virtual const char* description() = 0;
  virtual TimelineItem* createEffect(const EffectDescriptor& descriptor, const std::string& instanceName) = 0;
  virtual TimelineItem* createEffect(const std::string& typeName) = 0;
  virtual DataItem* loadData(const std::string& path) = 0;
  virtual const std::string& fileFilter() = 0;
  virtual const std::string& libraryPath() = 0;
  virtual void setControllerFactory(ControllerFactory* factory) = 0;
  virtual void exportAnimation(Project* project, const std::string& path) = 0;
  virtual void loadAnimation(const std::string& path, std::string& projectText) = 0;
  virtual SoundPlayerFMOD* soundPlayer() = 0;
  virtual RenderWindow* renderWindow() = 0;

 protected:
  ~DriverKMT() = default;
};

}  // namespace host
