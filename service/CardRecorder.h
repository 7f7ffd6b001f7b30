// Known cards of a host that runs without a service.
#pragma once

#include <memory>

#include "console/plugin/CardStore.h"

namespace Service {

// Returns a store that uses the tables of the service in the host's database. Use it only while no
// service uses the database. If the file cannot be written, known cards are read but not updated.
std::unique_ptr<Console::CardStore> CreateCardRecorder();

}  // namespace Service
