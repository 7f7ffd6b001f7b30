// Memory shortages while a trace line is written.
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <new>

#include "host/Toolkit.h"
#include "hostkit/Tracing.h"
#include "tests/support/MemoryShortage.h"

namespace {

namespace fs = boost::filesystem;
using CorvaneTest::Shortage;

// Writes a line as the plug-in does.
void Trace() {
  static const MBX::Misc::CModuleInfo module{304, "Module", "1", nullptr, nullptr};
  MBX::Internals::CTraceStreamBuffer buffer(2, module, "/a/path/that/is/long/Source.cpp",
                                            "AFunctionWithALongName", 42);
  MBX::Output_Streams::CFormatStream stream(buffer, "a text that is long, with %s and %d");
  stream << "another text that is just as long";
  stream.FormatInt(4294967295U);
}

class TraceOutOfMemory : public testing::TestWithParam<Shortage> {
 protected:
  TraceOutOfMemory() { fs::create_directories(m_Directory); }
  ~TraceOutOfMemory() override {
    HostKit::SetTraceSink({});
    HostKit::SetTraceFile("");
    fs::remove_all(m_Directory);
  }

  // Writes a line once per allocation, with that allocation failing. Returns the number of
  // allocations.
  static int FailEach() {
    for (int points = 0;; ++points) {
      CorvaneTest::BeginShortage(points, GetParam());
      try {
        Trace();
      } catch (const std::bad_alloc&) {
      }
      if (!CorvaneTest::EndShortage()) return points;
    }
  }

  const fs::path m_Directory = fs::temp_directory_path() / fs::unique_path("trace-%%%%%%%%");
};

TEST_P(TraceOutOfMemory, DropsOnlyLinesOfTheLog) {
  const std::string file = (m_Directory / "trace.log").string();
  ASSERT_TRUE(HostKit::SetTraceFile(file));
  Trace();
  const auto length = fs::file_size(file);
  EXPECT_GT(length, 0U);
  EXPECT_GT(FailEach(), 4);
  const auto before = fs::file_size(file);
  Trace();
  EXPECT_EQ(fs::file_size(file), before + length);
}

TEST_P(TraceOutOfMemory, DropsOnlyLinesOfTheSink) {
  std::vector<std::string> texts;
  HostKit::SetTraceSink([&texts](const HostKit::TraceLine& line) { texts.push_back(line.text); });
  EXPECT_GT(FailEach(), 4);
  texts.clear();
  Trace();
  EXPECT_EQ(texts, std::vector<std::string>{
                       "a text that is long, with another text that is just as long and "
                       "4294967295"});
}

// A failing sink of the host must not affect the plug-in, either.
TEST_P(TraceOutOfMemory, SurvivesASinkThatThrows) {
  int calls = 0;
  HostKit::SetTraceSink([&calls](const HostKit::TraceLine&) {
    ++calls;
    throw std::runtime_error("sink failed");
  });
  Trace();
  Trace();
  EXPECT_EQ(calls, 2);
}

INSTANTIATE_TEST_SUITE_P(, TraceOutOfMemory, testing::Values(Shortage::OneFails, Shortage::AllFail),
                         [](const auto& each) {
                           return each.param == Shortage::OneFails ? "OneFails" : "AllFail";
                         });

}  // namespace
