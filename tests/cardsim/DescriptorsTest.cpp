// A state file that cannot be opened is reported as an error, not treated as a file without cards.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <functional>

#include "tests/cardsim/Fixture.h"

namespace {

std::string Code(vsl_code code, const vsl_error_record& err) {
  return std::to_string(code) + " " + (code == 0 ? "" : err.text);
}

class Unopenable : public SimulatedCards {
 protected:
  // Runs `work` in a child process, because a lowered limit cannot be raised again. Returns its
  // output.
  std::string RunInChild(const std::function<std::string()>& work) {
    const auto result = m_Directory / "result";
    FILE* output = std::fopen(result.c_str(), "w");
    const pid_t child = fork();
    if (child == 0) {
      std::fputs(work().c_str(), output);
      std::fflush(output);
      _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
    std::fclose(output);
    return Slurp(result);
  }

  static void ExhaustDescriptors() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &limit);
  }

  std::string TooManyOpenFiles() const { return Path().string() + ": Too many open files"; }
};

TEST_F(Unopenable, InitFailsWithoutDescriptors) {
  File().AddCard(0x1003);
  EXPECT_EQ("2 " + TooManyOpenFiles(), RunInChild([this] {
              ExhaustDescriptors();
              return Code(vsl_init(0, &m_Error), m_Error);
            }));
}

// A call that rereads the file after a change.
struct Call {
  const char* name;
  const char* failed;  // the expected result before the reason
  std::function<std::string(void* card, vsl_error_record* err)> make;
};

const Call kCalls[] = {
    {"Iterate", "none ",
     [](void*, vsl_error_record* err) {
       void* iterated = nullptr;
       err->text[0] = '\0';
       return std::string(vsl_iom_iterate(&iterated, 1, err) ? "found " : "none ") + err->text;
     }},
    {"CreateByName", "2 ",
     [](void*, vsl_error_record* err) {
       void* card = nullptr;
       return Code(vsl_iom_create_by_name("/dev/fct0", &card, err), *err);
     }},
    {"Open", "2 ",
     [](void* card, vsl_error_record* err) { return Code(vsl_open(card, err), *err); }},
    {"LocateLED", "2 ",
     [](void* card, vsl_error_record* err) {
       return Code(vsl_set_beacon_state(card, 1, err), *err);
     }},
};

class UnopenableCalls : public Unopenable, public ::testing::WithParamInterface<Call> {
 protected:
  void SetUp() override {
    Unopenable::SetUp();
    StartWithCard();
    m_Card = CreateCard();
    m_Error.text[0] = '\0';
  }
  std::string Result() { return GetParam().make(m_Card, &m_Error); }
  std::string ExpectedFailure(const std::string& why) const {
    return GetParam().failed + Path().string() + ": " + why;
  }

  void* m_Card = nullptr;
};

TEST_P(UnopenableCalls, FailWithoutDescriptors) {
  File().Raise("card0", "FLASHBACK");
  EXPECT_EQ(ExpectedFailure("Too many open files"), RunInChild([this] {
              ExhaustDescriptors();
              return Result();
            }));
}

TEST_P(UnopenableCalls, FailOnADamagedFile) {
  OverwriteFile("{broken");
  EXPECT_EQ(ExpectedFailure("line 1, column 2: invalid JSON"), Result());
}

TEST_P(UnopenableCalls, FailOnAMissingFile) {
  std::filesystem::remove(Path());
  EXPECT_EQ(ExpectedFailure("no such file; `cardsim new` creates one"), Result());
}

TEST_P(UnopenableCalls, FailOnAnUnreadableFile) {
  // A directory in place of the file cannot be read as a file, even by root.
  std::filesystem::remove(Path());
  std::filesystem::create_directory(Path());
  EXPECT_EQ(ExpectedFailure("not a regular file"), Result());
}

TEST_P(UnopenableCalls, WorkAgainAfterTheFileIsRestored) {
  const std::string valid = Slurp();
  OverwriteFile("{broken");
  Result();
  OverwriteFile(valid);
  const std::string result = Result();
  EXPECT_TRUE(result == "0 " || result == "found ") << result;
  EXPECT_EQ("", Joined(CardSim::Misuse()));
}

INSTANTIATE_TEST_SUITE_P(Table, UnopenableCalls, ::testing::ValuesIn(kCalls),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Unopenable, AStatusMaskKeepsItsLastValue) {
  StartWithCard();
  File().Raise("card0", "FLASHBACK");
  void* card = OpenCard();
  File().Raise("card0", "INTERNAL_ERROR");
  EXPECT_EQ("true 256", RunInChild([&] {
              ExhaustDescriptors();
              const bool has = vsl_has_current_errors(card, &m_Error);
              return std::string(has ? "true " : "false ") +
                     std::to_string(vsl_current_errors(card, &m_Error));
            }));
}

TEST_F(Unopenable, TheFileIsNotOpenedAsAStandardStream) {
  File().AddCard(0x1003);
  EXPECT_EQ("", RunInChild([this] {
              for (const int fd : {0, 1, 2}) close(fd);
              // The loaded version of the file is kept open.
              vsl_init(0, &m_Error);
              for (const int fd : {0, 1, 2}) {
                if (fcntl(fd, F_GETFD) != -1) return "opened as " + std::to_string(fd);
              }
              return std::string();
            }));
}

}  // namespace
