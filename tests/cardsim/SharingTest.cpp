#include <sys/wait.h>

#include <thread>

#include "tests/cardsim/Fixture.h"

namespace {

// Uses a disk whose file system may reuse inode numbers.
class Sharing : public SimulatedCards {
 protected:
  std::filesystem::path Root() const override { return std::filesystem::temp_directory_path(); }
};

// Runs `work` in a child process. Returns the wait status.
template <typename Work>
int RunInChild(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    int status = 1;
    try {
      work();
      status = 0;
    } catch (const std::exception&) {
    }
    _exit(status);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

TEST_F(Sharing, AChangeByAnotherProcessIsVisibleAfterTheNextOpen) {
  StartWithCard();
  void* card = OpenCard();
  EXPECT_EQ(0, RunInChild([this] { File().Set("card0", "temp_internal_deg_c", "66.5"); }));
  EXPECT_EQ(51.7F, vsl_temp_internal_deg_c(card, &m_Error));
  vsl_close(card, &m_Error);
  vsl_open(card, &m_Error);
  EXPECT_EQ(66.5F, vsl_temp_internal_deg_c(card, &m_Error));
}

TEST_F(Sharing, ACardAddedByAnotherProcessIsFoundByName) {
  StartWithCard();
  void* card = nullptr;
  EXPECT_NE(0U, vsl_iom_create_by_name("/dev/fct1", &card, &m_Error));
  EXPECT_EQ(0, RunInChild([this] { File().AddCard(0x3001); }));
  EXPECT_EQ(0U, vsl_iom_create_by_name("/dev/fct1", &card, &m_Error));
  EXPECT_EQ(0, RunInChild([this] { File().RemoveCard("card1"); }));
  EXPECT_NE(0U, vsl_open(card, &m_Error));
}

// After two changes within one clock tick, the file may have the same size, modification time and
// inode number as before.
TEST_F(Sharing, ChangesInQuickSuccessionAreAllDetected) {
  StartWithCard();
  for (int i = 100; i < 160; ++i) {
    File().Set("card0", "pci_slot_num", std::to_string(i));
    ASSERT_EQ(i, vsl_pci_slot_num(OpenCard(), &m_Error));
    File().Set("card0", "pci_slot_num", "99");
    File().Set("card0", "pci_slot_num", std::to_string(i + 1));
    ASSERT_EQ(i + 1, vsl_pci_slot_num(OpenCard(), &m_Error));
  }
}

// Raises every `step`th of these ten error bits, starting at index `first`.
void RaiseErrorBits(const CardSim::StateFile& file, std::size_t first, std::size_t step) {
  const char* names[] = {"errors.INTERNAL_ERROR",
                         "errors.INCOMPATIBLE_PCI_BANDWIDTH",
                         "errors.PARTIAL_WRITE_THROTTLING",
                         "errors.COMPLETE_WRITE_THROTTLING",
                         "errors.TEMPERATURE_NEAR_ERROR",
                         "errors.TEMPERATURE_ABOVE_ERROR",
                         "errors.INTERNAL_VOLTAGE_OUT_OF_RANGE",
                         "errors.AUXILIARY_VOLTAGE_OUT_OF_RANGE",
                         "errors.FLASHBACK",
                         "errors.NONCORRECTABLE_PCI_ERRORS"};
  CardSim::StateFile copy = file;
  for (std::size_t i = first; i < 10; i += step) copy.Raise("card0", names[i]);
}

TEST_F(Sharing, ConcurrentEditsByProcessesAreAllKept) {
  File().AddCard(0x1003);
  std::vector<pid_t> children;
  for (std::size_t i = 0; i < 5; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      RaiseErrorBits(File(), i, 5);
      _exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
  }
  EXPECT_EQ("1023", File().Get("card0", "current_errors"));
}

TEST_F(Sharing, ConcurrentEditsByThreadsAreAllKeptAndReadersSeeCompleteFiles) {
  StartWithCard();
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 3; ++i) {
    threads.emplace_back([this, i] { RaiseErrorBits(File(), i, 3); });
  }
  threads.emplace_back([] {
    vsl_error_record err;
    for (int i = 0; i < 200; ++i) {
      void* card = nullptr;
      EXPECT_EQ(0U, vsl_iom_create_by_name("/dev/fct0", &card, &err)) << err.text;
      EXPECT_EQ(0U, vsl_destroy(&card, &err));
    }
  });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ("1023", File().Get("card0", "current_errors"));
}

TEST_F(Sharing, CallsFailWhileTheFileIsDamaged) {
  StartWithCard();
  void* card = CreateCard();
  const std::string good = Slurp();
  OverwriteFile("{");
  EXPECT_EQ(2U, vsl_open(card, &m_Error));
  EXPECT_EQ(Path().string() + ": line 1, column 2: invalid JSON", m_Error.text);
  EXPECT_EQ("{", Slurp());
  OverwriteFile(good);
  EXPECT_EQ(0U, vsl_open(card, &m_Error));
}

TEST_F(Sharing, TheDraftOfAKilledWriterIsReplaced) {
  File().AddCard(0x1003);
  std::ofstream(Path().string() + ".new") << "half a fi";
  File().Set("card0", "pci_slot_num", "7");
  EXPECT_EQ("7", File().Get("card0", "pci_slot_num"));
  EXPECT_FALSE(std::filesystem::exists(Path().string() + ".new"));
}

TEST_F(Sharing, ALinkToTheFileRemainsALink) {
  File().AddCard(0x1003);
  const auto link = m_Directory / "link.json";
  std::filesystem::create_symlink(Path(), link);
  CardSim::StateFile(link).Set("card0", "pci_slot_num", "7");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ("7", File().Get("card0", "pci_slot_num"));
}

}  // namespace
