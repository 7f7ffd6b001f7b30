// A host whose working directory has been deleted. Its database is elsewhere, and neither startup
// nor reopening the file may terminate the process.

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "tests/plugin/Watch.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class WorkingDirectory : public WorkerFixture {
 protected:
  WorkingDirectory() : m_Before(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  ~WorkingDirectory() override {
    if (fchdir(m_Before) != 0) std::abort();
    close(m_Before);
  }

  std::filesystem::path Directory() const { return m_Host.Directory() / "working"; }
  std::string File() const { return (m_Host.Directory() / "state" / "rows.db").string(); }

  void Enter() const {
    std::filesystem::create_directory(Directory());
    std::filesystem::current_path(Directory());
  }
  void Delete() const { std::filesystem::remove_all(Directory()); }

  // Runs in a process that has not opened a database yet. The exit code is the number of adapter
  // rows.
  [[noreturn]] void StartWith(const std::string& database) {
    AddCards(2);
    Enter();
    Delete();
    setenv("CORVANE_DATABASE", database.c_str(), 1);
    if (m_Host.Start() != 0 || m_Host.Topology().size() != 5) _exit(90);
    for (const std::string& line : m_Host.Traces(128)) std::fprintf(stderr, "%s\n", line.c_str());
    _exit(std::stoi(Query("SELECT COUNT(*) FROM host_adapter_rows").at(0)));
  }

 private:
  const int m_Before;
};

using WorkingDirectoryDeathTest = WorkingDirectory;

TEST_F(WorkingDirectoryDeathTest, CanBeDeletedBeforeAStart) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(StartWith(File()), testing::ExitedWithCode(2), "Plugin FusionIO inserted to db.");
}

TEST_F(WorkingDirectory, CanBeDeletedBeforeAStartWithARelativePath) {
  AddCards(1);
  Enter();
  Delete();
  ScopedDatabase::Begin("rows.db");
  ASSERT_EQ(m_Host.Start(), 0U);
  EXPECT_THAT(m_Host.Traces(128), Contains(HasSubstr("(unable to open database file)")));
  ScopedDatabase::Begin(":memory:");
}

TEST_F(WorkingDirectory, CanBeDeletedBeforeTheWorkerReopensItsFile) {
  const ScopedDatabase database;
  AddCards(1);
  Enter();
  ScopedDatabase::Begin(File());
  StartWatch();
  Delete();
  std::filesystem::remove_all(std::filesystem::path(File()).parent_path());
  Set("card0", "temp_internal_deg_c", "60.0");
  WaitForScans();
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "0"));
  EXPECT_TRUE(std::filesystem::exists(File()));
  EXPECT_EQ(m_Host.Topology().size(), 3U);
}

TEST_F(WorkingDirectory, CanChangeWithoutAffectingTheFile) {
  const ScopedDatabase database;
  AddCards(1);
  Enter();
  ScopedDatabase::Begin("rows.db");
  std::filesystem::current_path(m_Host.Directory());
  ASSERT_EQ(m_Host.Start(), 0U);
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
  EXPECT_TRUE(std::filesystem::exists(Directory() / "rows.db"));
  std::filesystem::remove(Directory() / "rows.db");
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "0"));
  EXPECT_TRUE(std::filesystem::exists(Directory() / "rows.db"));
  EXPECT_FALSE(std::filesystem::exists(m_Host.Directory() / "rows.db"));
}

}  // namespace
}  // namespace CorvaneTest
