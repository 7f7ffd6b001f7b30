// The owner of a file descriptor, and the functions that read and write through it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/Descriptor.h"
#include "tests/support/Temporary.h"

namespace {

bool IsOpen(int number) {
  return fcntl(number, F_GETFD) >= 0;
}

Base::Descriptor OpenNull() {
  return Base::OpenAt(AT_FDCWD, "/dev/null", O_WRONLY);
}

TEST(Descriptor, IsClosedWithItsOwner) {
  int number = -1;
  {
    const Base::Descriptor file = OpenNull();
    number = file.Get();
    EXPECT_TRUE(file.IsOpen());
    EXPECT_TRUE(IsOpen(number));
  }
  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, TransfersItsNumberWhenMoved) {
  Base::Descriptor first = OpenNull();
  const int number = first.Get();
  Base::Descriptor second(std::move(first));
  EXPECT_EQ(number, second.Get());
  EXPECT_FALSE(first.IsOpen());

  Base::Descriptor third = OpenNull();
  const int replaced = third.Get();
  third = std::move(second);
  EXPECT_EQ(number, third.Get());
  EXPECT_FALSE(second.IsOpen());
  EXPECT_FALSE(IsOpen(replaced));
}

TEST(Descriptor, ClosesOnceAndKeepsErrno) {
  Base::Descriptor file = OpenNull();
  const int number = file.Get();
  errno = EAGAIN;
  file.Close();
  file.Close();
  EXPECT_EQ(EAGAIN, errno);
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, IsNotOpenAfterAFailure) {
  const Base::Descriptor file = Base::OpenAt(AT_FDCWD, "/no/such/file", O_RDONLY);
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(file.IsOpen());
}

TEST(Descriptor, IsClosedOnExec) {
  EXPECT_EQ(FD_CLOEXEC, fcntl(OpenNull().Get(), F_GETFD));
}

// Runs in a child process that has closed its standard streams.
TEST(Descriptor, NeverTakesTheNumberOfAStandardStream) {
  const pid_t child = fork();
  if (child == 0) {
    for (const int stream : {0, 1, 2}) close(stream);
    const Base::Descriptor first = OpenNull();
    const Base::Descriptor second = OpenNull();
    _exit(first.Get() > 2 && second.Get() > 2 && !IsOpen(0) && !IsOpen(1) && !IsOpen(2) ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

TEST(WriteAll, ReportsTheError) {
  const Base::Descriptor full = Base::OpenAt(AT_FDCWD, "/dev/full", O_WRONLY);
  EXPECT_EQ(ENOSPC, Base::WriteAll(full, "text"));
  EXPECT_EQ(EBADF, Base::WriteAll(Base::Descriptor(), "text"));
  EXPECT_EQ(0, Base::WriteAll(full, ""));
}

TEST(WriteAll, WritesMoreThanAPipeHolds) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  const Base::Descriptor readEnd(ends[0]);
  Base::Descriptor writeEnd(ends[1]);
  const std::string text(1 << 20, 'x');  // larger than the pipe buffer
  const pid_t child = fork();
  if (child == 0) {
    const int error = Base::WriteAll(writeEnd, text);
    _exit(error);
  }
  writeEnd.Close();
  std::size_t total = 0;
  char block[4096];
  for (ssize_t count = 0; (count = read(readEnd.Get(), block, sizeof block)) > 0;) {
    total += static_cast<std::size_t>(count);
  }
  EXPECT_EQ(text.size(), total);
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

TEST(ReadAll, ReadsUpToTheLimit) {
  const TemporaryDirectory directory;
  const auto name = directory.Path() / "file";
  const std::string content(40000, 'x');  // larger than one read
  WriteText(name, content);
  const auto read = [&name](std::size_t limit, std::string& text) {
    return Base::ReadAll(Base::OpenAt(AT_FDCWD, name, O_RDONLY), limit, text);
  };
  std::string text = "before ";
  EXPECT_EQ(0, read(40007, text));
  EXPECT_EQ("before " + content, text);
  text.clear();
  EXPECT_EQ(EFBIG, read(39999, text));
}

TEST(ReadAll, ReportsTheError) {
  std::string text;
  EXPECT_EQ(EBADF, Base::ReadAll(Base::Descriptor(), 1, text));
  EXPECT_EQ(EISDIR, Base::ReadAll(Base::OpenAt(AT_FDCWD, "/", O_RDONLY), 1, text));
  EXPECT_EQ("", text);
}

TEST(MakePipe, TransfersTextUntilEndOfFile) {
  Base::Pipe pipe = Base::MakePipe();
  EXPECT_EQ(FD_CLOEXEC, fcntl(pipe.m_Read.Get(), F_GETFD));
  EXPECT_EQ(FD_CLOEXEC, fcntl(pipe.m_Write.Get(), F_GETFD));
  EXPECT_EQ(0, Base::WriteAll(pipe.m_Write, "text"));
  pipe.m_Write.Close();
  std::string text;
  EXPECT_EQ(0, Base::ReadAll(pipe.m_Read, 4, text));
  EXPECT_EQ("text", text);
}

TEST(RedirectToNull, DropsWrittenData) {
  const Base::Pipe pipe = Base::MakePipe();
  EXPECT_EQ(0, fcntl(pipe.m_Read.Get(), F_SETFL, O_NONBLOCK));
  Base::RedirectToNull(pipe.m_Write.Get());
  EXPECT_EQ(0, Base::WriteAll(pipe.m_Write, "text"));
  std::string text;
  // End of file, because the only writer has been replaced.
  EXPECT_EQ(0, Base::ReadAll(pipe.m_Read, 4, text));
  EXPECT_EQ("", text);
}

TEST(CheckReadable, ReturnsTheErrnoOfOpeningTheFile) {
  EXPECT_EQ(0, Base::CheckReadable("/dev/null"));
  EXPECT_EQ(ENOENT, Base::CheckReadable("/no/such/file"));
  EXPECT_EQ(ENOTDIR, Base::CheckReadable("/dev/null/file"));
}

}  // namespace
