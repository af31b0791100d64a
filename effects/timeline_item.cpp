#include "effects/timeline_item.h"

#include "driver/host/project.h"

void TimelineItem::accept(ItemVisitor* visitor) { visitor->visitEffect(this); }
