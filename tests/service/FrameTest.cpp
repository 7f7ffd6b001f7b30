#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "base/Descriptor.h"
#include "service/Frame.h"
#include "service/FrameSender.h"

namespace {

using nlohmann::json;
using Service::EncodeFrame;
using Service::FrameError;
using Service::FrameSender;
using Service::ReadFrame;
using Service::WriteFrame;

class Frame : public testing::Test {
 protected:
  Frame() {
    int ends[2] = {};
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    m_Reader = Base::Descriptor(ends[0]);
    m_Writer = Base::Descriptor(ends[1]);
  }

  bool Write(const json& document) { return WriteFrame(m_Writer.Get(), EncodeFrame(document)); }
  void SendBytes(const std::string& bytes) { EXPECT_EQ(0, Base::WriteAll(m_Writer, bytes)); }

  Base::Descriptor m_Reader;
  Base::Descriptor m_Writer;
};

TEST_F(Frame, IsReceivedUnchanged) {
  const std::vector<json> documents = {
      json::object(), nullptr, {{"text", std::string("\0\n\xc3\xa9", 4)}}, 18446744073709551615U};
  for (const json& document : documents) EXPECT_TRUE(Write(document));
  for (const json& document : documents) EXPECT_EQ(document, ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, ReplacesBytesThatAreNotUtf8) {
  EXPECT_TRUE(Write({{"file", "/lib/a\xff.so"}}));
  EXPECT_EQ((json{{"file", "/lib/a\xef\xbf\xbd.so"}}), ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, StartsWithItsLengthInFourBytes) {
  EXPECT_TRUE(Write("abc"));
  char bytes[16] = {};
  EXPECT_EQ(9, read(m_Reader.Get(), bytes, sizeof bytes));
  EXPECT_EQ(std::string("\0\0\0\5\"abc\"", 9), std::string(bytes, 9));
}

TEST_F(Frame, MayBeLargerThanTheSocketBuffer) {
  const json sent = std::string(5'000'000, 'x');
  std::thread sender([&] { Write(sent); });
  EXPECT_EQ(sent, ReadFrame(m_Reader.Get()));
  sender.join();
}

TEST_F(Frame, DoesNotMixWithFramesOfOtherThreads) {
  FrameSender sender(m_Writer.Get());
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&sender, i] {
      for (int j = 0; j < 50; ++j) sender.Send(std::string(3000, static_cast<char>('a' + i)));
    });
  }
  for (int i = 0; i < 200; ++i) {
    const auto frame = ReadFrame(m_Reader.Get());
    ASSERT_TRUE(frame);
    const auto text = frame->get<std::string>();
    EXPECT_EQ(std::string(3000, text.front()), text);
  }
  for (std::thread& thread : threads) thread.join();
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
  EXPECT_FALSE(Write("abc"));
}

TEST_F(Frame, IsQueuedWithoutWaitingForAProcessThatDoesNotRead) {
  const json large = std::string(5'000'000, 'x');
  FrameSender sender(m_Writer.Get());
  EXPECT_TRUE(sender.Send(large));
  EXPECT_TRUE(sender.Send("second"));
  EXPECT_EQ(large, ReadFrame(m_Reader.Get()));
  EXPECT_EQ("second", ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, IsSentBeforeTheSenderIsDestroyed) {
  {
    FrameSender sender(m_Writer.Get());
    for (int i = 0; i < 100; ++i) sender.Send(i);
  }
  m_Writer.Close();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(i, ReadFrame(m_Reader.Get()));
  EXPECT_EQ(std::nullopt, ReadFrame(m_Reader.Get()));
}

TEST_F(Frame, IsRefusedAfterOneCouldNotBeSent) {
  std::promise<void> failed;
  FrameSender sender(m_Writer.Get(), [&failed] { failed.set_value(); });
  m_Reader.Close();
  EXPECT_TRUE(sender.Send("lost"));
  failed.get_future().wait();
  while (sender.Send("refused")) std::this_thread::yield();
  EXPECT_FALSE(sender.Send("refused"));
}

// The frames that were queued before the failure are dropped, and it is reported once.
TEST_F(Frame, IsDroppedAfterOneCouldNotBeSent) {
  std::promise<void> begun;
  int failures = 0;
  {
    FrameSender sender(m_Writer.Get(), [&] {
      if (failures++ == 0) begun.set_value();
    });
    EXPECT_TRUE(sender.Send(std::string(5'000'000, 'x')));  // waits for the reader
    EXPECT_TRUE(sender.Send("queued"));
    m_Reader.Close();
    begun.get_future().wait();
  }
  EXPECT_EQ(1, failures);
}

TEST_F(Frame, MayFailWithoutAReport) {
  FrameSender sender(m_Writer.Get());
  m_Reader.Close();
  while (sender.Send("lost")) std::this_thread::yield();
  EXPECT_FALSE(sender.Send("refused"));
}

TEST_F(Frame, IsSentInTheOrderOfEachThread) {
  constexpr int kThreads = 4, kFrames = 200;
  FrameSender sender(m_Writer.Get());
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&sender, thread] {
      for (int i = 0; i < kFrames; ++i) sender.Send(json{thread, i});
    });
  }
  std::vector<int> next(kThreads, 0);
  for (int i = 0; i < kThreads * kFrames; ++i) {
    const auto frame = ReadFrame(m_Reader.Get());
    ASSERT_TRUE(frame);
    EXPECT_EQ(next.at(frame->at(0))++, frame->at(1));
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(Frame, IsNotSentIfItIsTooLarge) {
  FrameSender sender(m_Writer.Get());
  EXPECT_FALSE(sender.Send(std::string((64U << 20U) - 1, 'x')));  // two more bytes for the quotes
  EXPECT_TRUE(sender.Send("next"));
  EXPECT_EQ("next", ReadFrame(m_Reader.Get()));
}

}  // namespace
