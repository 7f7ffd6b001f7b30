#include "tests/cardsim/Fixture.h"

namespace {

// A detached card of 1,000,000 bytes with sectors of 512 to 4096 bytes, and a format of it that
// takes no time.
class Format : public SimulatedCards {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    File().AddCard(0x1003);
    const std::pair<const char*, const char*> settings[] = {
        {"iom_state", "0"},
        {"format_ms", "0"},
        {"iom_format_max_size_bytes", "1000000"},
        {"overformat_size_bytes", "1200000"},
        {"iom_format_size_bytes", "1000000"},
    };
    for (const auto& [attribute, value] : settings) File().Set("card0", attribute, value);
    ASSERT_EQ(0U, vsl_init(0, &m_Error));
    CardSim::Reset();
    CreateFormat();
  }

  void CreateFormat() { ASSERT_EQ(0U, vsl_iom_format_create(CreateCard(), &m_Format, &m_Error)); }

  void Run() {
    EXPECT_EQ(0U, vsl_op_start(m_Format, &m_Error)) << m_Error.text;
    EXPECT_EQ(0U, vsl_op_wait_for_result(m_Format, &m_Error)) << m_Error.text;
  }

  // Returns the card's size, percentage and sector size.
  std::string Outcome() const {
    return File().Get("card0", "iom_format_size_bytes") + " " +
           File().Get("card0", "iom_format_size_pct") + " " +
           File().Get("card0", "sector_size_bytes");
  }

  void* m_Format = nullptr;
};

TEST_F(Format, APercentageShrinksTheCard) {
  EXPECT_EQ(0U, vsl_iom_format_set_sector_size_bytes(m_Format, 1024, &m_Error));
  EXPECT_EQ(0U, vsl_iom_format_set_size_pct(m_Format, 50, &m_Error));
  Run();
  // 500,000 bytes hold 488 sectors of 1024 bytes.
  EXPECT_EQ("499712 50 1024", Outcome());
  EXPECT_EQ("0", File().Get("card0", "iom_state"));
}

TEST_F(Format, ASizeInBytesSetsThePercentage) {
  EXPECT_EQ(0U, vsl_iom_format_set_size_bytes(m_Format, 800256, &m_Error));
  Run();
  EXPECT_EQ("800256 80 512", Outcome());
}

TEST_F(Format, KeepsSizeAndSectorSizeWithoutOptions) {
  File().Set("card0", "iom_format_size_pct", "97");
  Run();
  EXPECT_EQ("999936 97 512", Outcome());
}

TEST_F(Format, SizeModeRaisesTheMaximumSize) {
  EXPECT_EQ(1000000U, vsl_iom_format_max_size_bytes(m_Format, &m_Error));
  EXPECT_NE(0U, vsl_iom_format_set_size_bytes(m_Format, 1200000, &m_Error));
  EXPECT_EQ(0U, vsl_iom_format_set_size_mode(m_Format, VSL_SIZE_MODE_OVERFORMAT, &m_Error));
  EXPECT_EQ(1200000U, vsl_iom_format_max_size_bytes(m_Format, &m_Error));
  EXPECT_EQ(0U, vsl_iom_format_set_size_bytes(m_Format, 1200000, &m_Error));
  Run();
  EXPECT_EQ("1199616 119 512", Outcome());
  EXPECT_EQ("1000000", File().Get("card0", "iom_format_max_size_bytes"));
}

TEST_F(Format, ShowsTheRequestedSizeBeforeItStarts) {
  vsl_iom_format_set_size_pct(m_Format, 25, &m_Error);
  EXPECT_EQ(250000U, vsl_iom_format_size_bytes(m_Format, &m_Error));
  EXPECT_EQ(25, vsl_iom_format_size_pct(m_Format, &m_Error));
  EXPECT_EQ("1000000", File().Get("card0", "iom_format_size_bytes"));
}

TEST_F(Format, DoesNotAddAbsentAttributes) {
  File().MakeAbsent("card0", "iom_format_size_pct");
  CreateFormat();
  vsl_iom_format_set_size_pct(m_Format, 50, &m_Error);
  Run();
  EXPECT_EQ("499712 absent 512", Outcome());
}

TEST_F(Format, IsRejectedOnAnAttachedCard) {
  File().Set("card0", "iom_state", "2");
  EXPECT_EQ(6U, vsl_op_start(m_Format, &m_Error));
  EXPECT_STREQ("not possible in state attached", m_Error.text);
  EXPECT_EQ("2", File().Get("card0", "iom_state"));
}

// A call that sets an option of a format and is rejected.
struct OptionCall {
  const char* name;
  const char* attribute;  // to set to `value` first, or null
  const char* value;
  vsl_code (*call)(void* format, vsl_error_record* err);
  const char* reason;
};

vsl_code SetSectorSize(void* format, uint32_t bytes, vsl_error_record* err) {
  return vsl_iom_format_set_sector_size_bytes(format, bytes, err);
}

const OptionCall kRejected[] = {
    {"SectorTooSmall", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return SetSectorSize(f, 256, e); },
     "the sector size must be 512 to 4096 bytes"},
    {"SectorTooLarge", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return SetSectorSize(f, 8192, e); },
     "the sector size must be 512 to 4096 bytes"},
    {"SectorNotAMultiple", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return SetSectorSize(f, 1000, e); },
     "the sector size must be a multiple of 512"},
    {"SectorNotAPowerOfTwo", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return SetSectorSize(f, 1536, e); },
     "the sector size must be a power of two"},
    {"SectorZero", "iom_format_min_sector_size_bytes", "0",
     [](void* f, vsl_error_record* e) { return SetSectorSize(f, 0, e); },
     "the sector size must be 0 to 4096 bytes"},
    {"SizeZero", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_bytes(f, 0, e); },
     "the size must be 1 to 1000000 bytes"},
    {"SizeTooLarge", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_bytes(f, 1000001, e); },
     "the size must be 1 to 1000000 bytes"},
    {"PercentZero", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_pct(f, 0, e); },
     "the size must be 1 to 100 percent"},
    {"PercentTooLarge", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_pct(f, 101, e); },
     "the size must be 1 to 100 percent"},
    {"UnknownMode", nullptr, nullptr,
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_mode(f, 3, e); },
     "unknown size mode"},
    {"ModeNotAllowed", "iom_format_disallow_overformat", "true",
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_mode(f, 11, e); },
     "the card does not support overformatting"},
    {"NoModes", "iom_format_size_mode", "false",
     [](void* f, vsl_error_record* e) { return vsl_iom_format_set_size_mode(f, 11, e); },
     "the card does not support overformatting"},
};

class RejectedOption : public Format, public ::testing::WithParamInterface<OptionCall> {};

TEST_P(RejectedOption, ReportsTheReason) {
  if (GetParam().attribute != nullptr) {
    File().Set("card0", GetParam().attribute, GetParam().value);
    CreateFormat();
  }
  EXPECT_NE(0U, GetParam().call(m_Format, &m_Error));
  EXPECT_STREQ(GetParam().reason, m_Error.text);
}

INSTANTIATE_TEST_SUITE_P(Table, RejectedOption, ::testing::ValuesIn(kRejected),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Format, AcceptsAnySectorSizeInRangeIfPowersOfTwoAreNotRequired) {
  File().Set("card0", "iom_format_power_of_two_sector_size", "false");
  File().Set("card0", "iom_format_sector_size_multiplier", "0");
  CreateFormat();
  EXPECT_EQ(0U, vsl_iom_format_set_sector_size_bytes(m_Format, 777, &m_Error));
  Run();
  EXPECT_EQ("999999 100 777", Outcome());
}

}  // namespace
