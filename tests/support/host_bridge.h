#pragma once

// Tests that link the driver's code and the host's library into one program. Each
// side declares the other's objects itself, with the same tables of operations, and
// the module boundary hands a pointer across unchanged: so do these.

#include "driver/data_item.h"
#include "driver/driver_kmt.h"
#include "driver/host/param_controller.h"
#include "driver/host/tree_element.h"
#include "player/host/driver_interface.h"

namespace tstest {

inline ControllerFactory* driverSide(host::ControllerFactory* factory) {
  return reinterpret_cast<ControllerFactory*>(factory);
}
inline TreeElement* driverSide(host::TreeElement* element) { return reinterpret_cast<TreeElement*>(element); }
inline host::ParamController* hostSide(ParamController* controller) {
  return reinterpret_cast<host::ParamController*>(controller);
}
inline host::DataItem* hostSide(DataItem* item) { return reinterpret_cast<host::DataItem*>(item); }
inline DataItem* driverSide(host::DataItem* item) { return reinterpret_cast<DataItem*>(item); }
inline host::DriverKMT& hostSide(DriverKMT& driver) { return reinterpret_cast<host::DriverKMT&>(driver); }

}  // namespace tstest
