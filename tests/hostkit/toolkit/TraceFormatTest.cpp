#include <gtest/gtest.h>

#include <functional>

#include "host/Toolkit.h"
#include "hostkit/Tracing.h"

namespace {

using MBX::Output_Streams::CFormatStream;

// Returns the text that the sink receives for a format and its values.
std::string Formatted(const char* format, const std::function<void(CFormatStream&)>& feed) {
  std::string text;
  HostKit::SetTraceSink([&](const HostKit::TraceLine& line) { text = line.text; });
  {
    const MBX::Misc::CModuleInfo module(1, "Module", "1", nullptr, nullptr);
    MBX::Internals::CTraceStreamBuffer buffer(2, module, "File.cpp", "Function", 1);
    CFormatStream stream(buffer, format);
    feed(stream);
  }
  HostKit::SetTraceSink({});
  return text;
}

struct FormatCase {
  const char* format;
  std::function<void(CFormatStream&)> feed;
  const char* text;
};

const FormatCase kFormats[] = {
    {"LEAVE Function", [](auto&) {}, "LEAVE Function"},
    {"%d", [](auto& s) { s.FormatInt(4294967295U); }, "4294967295"},
    {"-> %d", [](auto& s) { s.FormatInt(18446744073709551615UL); }, "-> 18446744073709551615"},
    {"id=0x%x", [](auto& s) { s.FormatInt(0x0130000000000000UL); }, "id=0x130000000000000"},
    {"0x%x 0x%x", [](auto& s) { s.FormatInt(0U).FormatInt(0xBEEFU); }, "0x0 0xbeef"},
    {"vsl_open = %d (%s)", [](auto& s) { s.FormatInt(27U) << "busy"; }, "vsl_open = 27 (busy)"},
    {"%s%s", [](auto& s) { s << std::string("one") << "two"; }, "onetwo"},
    {"(%s)", [](auto& s) { s << ""; }, "()"},
    {"(%s)", [](auto& s) { s << static_cast<const char*>(nullptr); }, "((null))"},
    {"%s %d", [](auto& s) { (s << "%d %s 0x%x").FormatInt(5U); }, "%d %s 0x%x 5"},
    {"%d of %d", [](auto& s) { s.FormatInt(1U); }, "1 of %d"},
    {"%d", [](auto& s) { s.FormatInt(1U).FormatInt(2U) << "three"; }, "1"},
    {"0%d 10%s 100%", [](auto& s) { s.FormatInt(7U) << "x"; }, "07 10x 100%"},
    {"%x %u", [](auto& s) { s.FormatInt(7U); }, "%x %u"},
};

TEST(TraceFormat, FillsItsPlaceholdersInOrder) {
  for (const FormatCase& entry : kFormats) {
    EXPECT_EQ(entry.text, Formatted(entry.format, entry.feed)) << entry.format;
  }
}

}  // namespace
