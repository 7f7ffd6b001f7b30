#include <fmt/format.h>

#include "service/state/HistoryRing.h"
#include "tests/service/state/StateFixture.h"

namespace {

using Service::HistorySeries;
using Service::HistoryValue;
using StateTest::Card;
using StateTest::kDay;
using StateTest::kHour;
using StateTest::kMinute;
using StateTest::kSecond;
using StateTest::kStart;

class History : public StateTest::StoreTest {
 protected:
  static Card Warm(float celsius, const char* serial = "S0") {
    Card card;
    card.m_Serial = serial;
    card.m_Celsius = celsius;
    return card;
  }

  void RecordMinutes(std::uint64_t from, std::uint64_t count, float celsius) {
    for (std::uint64_t i = 0; i < count; ++i) Record(from + i * kMinute, {Warm(celsius)});
  }

  Service::HistoryQuery Query(const char* field, std::uint64_t from, std::uint64_t to,
                              std::uint64_t step, const char* serial = "S0") {
    return {serial, Service::FindHistoryField(field), from, to, step};
  }

  // Renders each point as hours and minutes since `kStart`, followed by its value, or by minimum,
  // maximum and mean if it combines different values: "0:00 48.2, 0:03 40..50 ~45".
  static std::string Render(const HistorySeries& series) {
    std::string text;
    for (const auto& point : series.m_Points) {
      const auto minutes = static_cast<std::int64_t>(point.m_Time - kStart) / 60000;
      text += fmt::format("{}{}:{:02} ", text.empty() ? "" : ", ", minutes / 60, minutes % 60);
      text += point.m_Minimum < point.m_Maximum
                  ? fmt::format("{}..{} ~{}", point.m_Minimum, point.m_Maximum, point.m_Mean)
                  : fmt::format("{}", point.m_Minimum);
    }
    return text;
  }

  std::string Read(const char* field, std::uint64_t from = kStart,
                   std::uint64_t to = kStart + 1000 * kDay, std::uint64_t step = 0) {
    return Render(m_Store.History(Query(field, from, to, step)).value());
  }

  std::string Cell(const std::string& sql) { return OtherProgram(File()).Run(sql); }
};

TEST_F(History, HasAValueEachMinute) {
  Record(kStart + 10 * kSecond, {Warm(48.2F)});
  Record(kStart + 59 * kSecond, {Warm(99)});
  Record(kStart + 60 * kSecond, {Warm(50)});
  Record(kStart + 180 * kSecond, {Warm(51)});
  EXPECT_EQ(Read("temperature_celsius"), "0:00 48.2, 0:01 50, 0:03 51");
}

TEST_F(History, HasSixFields) {
  Card card = Warm(51.7F);
  card.m_ReservePercent = 99;
  card.m_EndurancePercent = 16.25F;
  card.m_BytesWritten = 123456789012345UL;
  card.m_BytesRead = 0UL;
  card.m_Watts = 9.9F;
  Record(kStart, {card});
  EXPECT_EQ(Read("temperature_celsius"), "0:00 51.7");
  EXPECT_EQ(Read("reserve_space_ratio"), "0:00 0.99");
  EXPECT_EQ(Read("endurance_used_ratio"), "0:00 0.1625");
  EXPECT_EQ(Read("written_bytes"), "0:00 123456789012345");
  EXPECT_EQ(Read("read_bytes"), "0:00 0");
  EXPECT_EQ(Read("slot_power_watts"), "0:00 9.9");
  EXPECT_EQ(Service::FindHistoryField("name"), nullptr);
}

TEST_F(History, OmitsUnknownValues) {
  Record(kStart, CardsOf({"S0"}));
  Record(kStart + kMinute, {Warm(48)});
  Record(kStart + 2 * kMinute, CardsOf({"S0"}));
  EXPECT_EQ(Read("temperature_celsius"), "0:01 48");
  Record(kStart + 2 * kHour, {Warm(49)});
  EXPECT_EQ(Read("temperature_celsius"), "0:01 48, 2:00 49");
  EXPECT_EQ(Read("slot_power_watts"), "");
}

TEST_F(History, OmitsMinutesWithoutTheCard) {
  Record(kStart, {Warm(48), Warm(60, "S1")});
  Record(kStart + kMinute, {Warm(61, "S1")});
  EXPECT_EQ(Read("temperature_celsius"), "0:00 48");
}

TEST_F(History, IsEmptyForAKnownCardAndMissingForAnUnknownOne) {
  Record(kStart, CardsOf({"S0"}));
  EXPECT_TRUE(m_Store.History(Query("read_bytes", 0, kStart, 0)).value().m_Points.empty());
  EXPECT_FALSE(m_Store.History(Query("read_bytes", 0, kStart, 0, "S9")));
}

TEST_F(History, IncludesFromAndExcludesTo) {
  RecordMinutes(kStart, 5, 50);
  EXPECT_EQ(Read("temperature_celsius", kStart + kMinute, kStart + 3 * kMinute),
            "0:01 50, 0:02 50");
  EXPECT_EQ(Read("temperature_celsius", kStart + 3 * kMinute, kStart + kMinute), "");
}

TEST_F(History, CombinesTheValuesOfAStep) {
  for (int i = 0; i < 6; ++i) {
    Record(kStart + static_cast<std::uint64_t>(i) * kMinute, {Warm(50.0F + static_cast<float>(i))});
  }
  EXPECT_EQ(Read("temperature_celsius", kStart, kStart + kHour, 3 * kMinute),
            "0:00 50..52 ~51, 0:03 53..55 ~54");
  // Steps are rounded up to whole minutes.
  EXPECT_EQ(m_Store.History(Query("temperature_celsius", 0, kStart + kHour, 61 * kSecond))->m_Step,
            2 * kMinute);
}

TEST_F(History, SummarizesAnHour) {
  Card card = Warm(40);
  card.m_ReservePercent = 98;
  card.m_EndurancePercent = 10;
  card.m_BytesWritten = 1000UL;
  Record(kStart + 58 * kMinute, {card});
  card.m_Celsius = 47;
  card.m_ReservePercent = 97;
  card.m_EndurancePercent = 11;
  card.m_BytesWritten = 500UL;  // the card was replaced
  Record(kStart + 59 * kMinute, {card});
  EXPECT_EQ(Cell("SELECT COUNT(*) FROM host_history_hours"), "0");
  Record(kStart + 60 * kMinute, {card});
  EXPECT_EQ(Cell("SELECT time, samples, temperature_min, temperature_max, temperature_mean, "
                 "reserve, endurance, written, read, power_mean FROM host_history_hours"),
            "480000|2|40000|47000|43500|970000|110000|500|(null)|(null)");
}

TEST_F(History, ShowsTheHourAfterItsMinutesAreReplaced) {
  RecordMinutes(kStart, 60, 40);
  RecordMinutes(kStart + kHour, 60, 44);
  EXPECT_EQ(m_Store.History(Query("temperature_celsius", 0, kStart + kDay, 0))->m_Points.size(),
            120U);
  RecordMinutes(kStart + 2 * kHour, 2880 - 120 + 1, 46);  // the first minute is replaced
  EXPECT_EQ(Read("temperature_celsius", kStart, kStart + kHour + 2 * kMinute),
            "0:00 40, 1:00 44, 1:01 44");
  EXPECT_EQ(Cell("SELECT COUNT(*) FROM host_history_minutes"), "2880");
}

// Records only one value per hour, because recording every minute would take too long.
TEST_F(History, KeepsTwoYearsOfHours) {
  Record(kStart, {Warm(40)});
  for (int i = 0; i < 17544 + 2; ++i) {
    HostKit::WithOwnTables([&](HostKit::Connection& connection) {
      if (i == 0) connection.Run("BEGIN");
      const std::uint64_t time = kStart + static_cast<std::uint64_t>(i) * kHour;
      Service::WriteHistory(connection, time, {{0, {40000, {}, {}, {}, {}, {}}}});
      if (i == 17544 + 1) connection.Run("COMMIT");
    });
  }
  EXPECT_EQ(Cell("SELECT COUNT(*), MIN(time) FROM host_history_hours"), "17544|480001");
}

TEST_F(History, KeepsAllSamplesWhenTheClockIsSetBack) {
  RecordMinutes(kStart + 30 * kMinute, 40, 50);  // to 1:09
  RecordMinutes(kStart, 5, 30);
  RecordMinutes(kStart + 2 * kHour, 1, 20);
  const auto series = m_Store.History(Query("temperature_celsius", 0, kStart + kDay, 0)).value();
  EXPECT_EQ(series.m_Points.size(), 46U);
  EXPECT_EQ(Read("temperature_celsius", 0, kStart + kDay, kHour),
            "0:00 30..50 ~47.142857142857146, 1:00 50, 2:00 20");
}

TEST_F(History, KeepsAllSamplesWhenTheClockIsSetForwardAndBack) {
  RecordMinutes(kStart, 90, 50);
  RecordMinutes(kStart + 400 * kDay + 7 * kMinute, 1, 99);
  RecordMinutes(kStart + 90 * kMinute, 90, 51);
  const auto series =
      m_Store.History(Query("temperature_celsius", kStart, kStart + kDay, 0)).value();
  EXPECT_EQ(series.m_Points.size(), 180U);
  EXPECT_EQ(Read("temperature_celsius", kStart, kStart + kDay, kHour),
            "0:00 50, 1:00 50..51 ~50.5, 2:00 51");
  EXPECT_EQ(Read("temperature_celsius", kStart + kDay), "9600:07 99");
}

TEST_F(History, KeepsTheValuesOfAnHourInWhichTheServiceRestarted) {
  RecordMinutes(kStart, 2, 50);
  Restart();
  RestartService();
  RecordMinutes(kStart + 2 * kMinute, 2, 54);
  Record(kStart + kHour, {Warm(60)});
  EXPECT_EQ(Cell("SELECT samples, temperature_mean FROM host_history_hours"), "4|52000");
}

TEST_F(History, IsRemovedWithItsCard) {
  RecordMinutes(kStart, 61, 50);
  Record(kStart + 61 * kMinute, {Warm(70, "S1")});
  EXPECT_EQ(m_Store.Forget("S0"), Service::ForgetResult::Done);
  EXPECT_EQ(Cell("SELECT COUNT(*) FROM host_history_minutes"), "1");
  EXPECT_EQ(Cell("SELECT COUNT(*) FROM host_history_hours"), "0");
  Record(kStart + 3 * kHour, {Warm(71, "S1")});
  EXPECT_EQ(
      Render(m_Store.History(Query("temperature_celsius", 0, kStart + kDay, 0, "S1")).value()),
      "1:01 70, 3:00 71");
}

std::vector<HistoryValue> Minutes(std::size_t count) {
  std::vector<HistoryValue> values;
  for (std::size_t i = 0; i < count; ++i) values.push_back({i * kMinute, 10, 10, 10, 1});
  return values;
}

TEST(Downsample, HasAtMostAThousandPoints) {
  for (const std::size_t count : {999U, 1000U, 1001U, 2880U, 17544U}) {
    const HistorySeries series = Service::Downsample({}, Minutes(count));
    EXPECT_LE(series.m_Points.size(), 1000U) << count;
    EXPECT_GE(series.m_Points.size(), 400U) << count;
    EXPECT_EQ(series.m_Step % kMinute, 0U);
  }
  EXPECT_EQ(Service::Downsample({}, Minutes(1000)).m_Points.size(), 1000U);
}

TEST(Downsample, KeepsMinimumAndMaximum) {
  std::vector<HistoryValue> values = Minutes(10000);
  values[4321] = {values[4321].m_Time, -5, -5, -5, 1};
  values[9999] = {values[9999].m_Time, 90, 90, 90, 1};
  double minimum = 0, maximum = 0;
  for (const auto& point : Service::Downsample({}, values).m_Points) {
    minimum = std::min(minimum, point.m_Minimum);
    maximum = std::max(maximum, point.m_Maximum);
  }
  EXPECT_EQ(minimum, -5);
  EXPECT_EQ(maximum, 90);
}

TEST(Downsample, WeightsMeansBySamples) {
  Service::HistoryQuery query;
  query.m_Step = kDay;
  const HistorySeries series = Downsample(query, {{0, 10, 30, 20, 60}, {kHour, 50, 50, 50, 20}});
  ASSERT_EQ(series.m_Points.size(), 1U);
  EXPECT_EQ(series.m_Points[0].m_Minimum, 10);
  EXPECT_EQ(series.m_Points[0].m_Maximum, 50);
  EXPECT_EQ(series.m_Points[0].m_Mean, 27.5);
}

TEST(Downsample, SpansAYearWithoutAGivenStep) {
  const HistorySeries series =
      Service::Downsample({}, {{kStart, 1, 1, 1, 1}, {kStart + 365 * kDay, 2, 2, 2, 1}});
  ASSERT_EQ(series.m_Points.size(), 2U);
  EXPECT_EQ(series.m_Points[0].m_Time, kStart);
  EXPECT_GT(series.m_Points[1].m_Time, kStart + 364 * kDay);
}

}  // namespace
