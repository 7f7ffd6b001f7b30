// Tables of cases whose rows have a `name`.
#pragma once

#include <gtest/gtest.h>

#include <string>

struct NameOfCase {
  template <class Case>
  std::string operator()(const testing::TestParamInfo<Case>& row) const {
    return row.param.name;
  }
};
