#pragma once

#include <string>

class ControllerFactory;
class TimelineItem;
struct EffectDescriptor;

// The eleven effect types, in the order in which their names are tried.
constexpr int kEffectTypeCount = 11;
const char* effectTypeName(int index);

// Position of `typeName` in the table, compared case-sensitively over the whole
// string; -1 when it names no effect.
int effectTypeIndex(const std::string& typeName);

// Null for an unknown name.
TimelineItem* createEffect(const EffectDescriptor& descriptor, const std::string& instanceName,
                           ControllerFactory* factory);
TimelineItem* createEmptyEffect(const std::string& typeName);
