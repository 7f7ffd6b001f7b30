#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "base/Descriptor.h"
#include "service/Frame.h"

namespace {

using nlohmann::json;
using Service::FrameError;
using Service::FrameWriter;
using Service::ReadFrame;

class Frame : public testing::Test {
 protected:
  Frame() {
    int ends[2] = {};
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    m_Reader = Base::Descriptor(ends[0]);
    m_Writer = Base::Descriptor(ends[1]);
  }

  void SendBytes(const std::string& bytes) { EXPECT_EQ(0, Base::WriteAll(m_Writer, bytes)); }

  Base::Descriptor m_Reader;
  Base::Descriptor m_Writer;
};

TEST_F(Frame, IsReceivedUnchanged) {
  FrameWriter writer(m_Writer.Get());
  const std::vector<json> documents = {
      json::object(), nullptr, {{"text", std::string("\0\n\xc3\xa9", 4)}}, 18446744073709551615U};
  for (const json& document : documents) EXPECT_TRUE(writer.Write(document));
  for (const json& document : documents) EXPECT_EQ(document, ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, ReplacesBytesThatAreNotUtf8) {
  EXPECT_TRUE(FrameWriter(m_Writer.Get()).Write({{"file", "/lib/a\xff.so"}}));
  EXPECT_EQ((json{{"file", "/lib/a\xef\xbf\xbd.so"}}), ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, StartsWithItsLengthInFourBytes) {
  EXPECT_TRUE(FrameWriter(m_Writer.Get()).Write("abc"));
  char bytes[16] = {};
  EXPECT_EQ(9, read(m_Reader.Get(), bytes, sizeof bytes));
  EXPECT_EQ(std::string("\0\0\0\5\"abc\"", 9), std::string(bytes, 9));
}

TEST_F(Frame, MayBeLargerThanTheSocketBuffer) {
  const json sent = std::string(5'000'000, 'x');
  std::thread sender([&] { FrameWriter(m_Writer.Get()).Write(sent); });
  EXPECT_EQ(sent, ReadFrame(m_Reader.Get()));
  sender.join();
}

TEST_F(Frame, DoesNotMixWithFramesOfOtherThreads) {
  FrameWriter writer(m_Writer.Get());
  std::vector<std::thread> senders;
  for (int i = 0; i < 4; ++i) {
    senders.emplace_back([&writer, i] {
      for (int j = 0; j < 50; ++j) writer.Write(std::string(3000, static_cast<char>('a' + i)));
    });
  }
  for (int i = 0; i < 200; ++i) {
    const auto frame = ReadFrame(m_Reader.Get());
    ASSERT_TRUE(frame);
    const auto text = frame->get<std::string>();
    EXPECT_EQ(std::string(3000, text.front()), text);
  }
  for (std::thread& sender : senders) sender.join();
}

TEST_F(Frame, IsEmptyAtTheEndOfTheStream) {
  m_Writer.Close();
  EXPECT_EQ(std::nullopt, ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, IsEmptyIfTheStreamEndsWithinIt) {
  SendBytes(std::string("\0\0\0\5\"ab", 7));
  m_Writer.Close();
  EXPECT_EQ(std::nullopt, ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, IsRejectedIfItIsNotJson) {
  SendBytes(std::string("\0\0\0\3{x}", 7));
  EXPECT_THROW(ReadFrame(m_Reader.Get()), FrameError);
}

TEST_F(Frame, IsRejectedIfItIsTooLarge) {
  SendBytes(std::string("\4\0\0\1", 4));  // 64 MiB and a byte
  EXPECT_THROW(ReadFrame(m_Reader.Get()), FrameError);
}

TEST_F(Frame, CannotBeWrittenToAProcessThatHasExited) {
  m_Reader.Close();
  EXPECT_FALSE(FrameWriter(m_Writer.Get()).Write("abc"));
}

}  // namespace
