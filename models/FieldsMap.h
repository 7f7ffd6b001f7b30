// What ties the fields of a row type to the columns of its table.
#pragma once

#include "host/Visibility.h"

namespace RaidDataModels {

// Lets maps of different row types stand in one list.
class HOST_API dbModelFieldsMapBase {
 public:
  virtual ~dbModelFieldsMapBase() = default;
};

}  // namespace RaidDataModels
