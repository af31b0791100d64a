#include "io/stream_composite.h"

namespace tsio {

InStreamComposite::~InStreamComposite() {
  if (ownsInner) delete inner;
}

OutStreamComposite::~OutStreamComposite() {
  if (ownsInner) delete inner;
}

}  // namespace tsio
