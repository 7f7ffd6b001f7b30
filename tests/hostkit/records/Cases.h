// Names of parameterized tests, from the `name` of each case.
#pragma once

#include <gtest/gtest.h>

#include <string>

struct NameOfCase {
  template <class Case>
  std::string operator()(const testing::TestParamInfo<Case>& row) const {
    return row.param.name;
  }
};
