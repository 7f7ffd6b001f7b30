// The statements that insert rows without values, as the database receives them.
#include "tests/hostkit/database/Fixture.h"
#include "tests/support/StatementWatch.h"

namespace {

using namespace RaidDataModels;

class Insert : public HostDatabaseTest {
 protected:
  CorvaneTest::StatementWatch m_Watch;
};

constexpr const char* kDrive =
    "INSERT INTO host_drive_rows ("
    "pd_activity_name, pd_bay_number, pd_assigned_volumes, pd_asset_tag, pd_sector_size, "
    "pd_configurable_size, pd_boot_state, pd_bus_protocol, pd_channel_number, "
    "pd_object_id_low, pd_device_number, pd_end_of_life_date, pd_drive_group, "
    "pd_drive_role, pd_encryption_state, pd_adapter_number, pd_error_history, "
    "pd_free_size, pd_host_name, pd_object_id, pd_firmware_version, pd_format_progress, "
    "pd_free_extents, pd_media_type, pd_media_errors, pd_short_name, pd_model, "
    "pd_multipath_state, pd_factory_size, pd_link_speed, pd_drive_flag_a, "
    "pd_hours_of_use, pd_lifetime_warnings, pd_logical_unit, pd_led_state, pd_product, "
    "pd_rated_endurance_percent, pd_other_errors, pd_remaining_reserve, "
    "pd_rotation_speed, pd_reserve_warning, pd_read_errors, pd_read_policy, "
    "pd_rebuild_state, pd_reservation_holder, pd_serial_number, pd_slot_number, "
    "pd_drive_flag_b, pd_spare_kind, pd_status_name, pd_smart_warnings, "
    "pd_bytes_read_ki_b, pd_bytes_written_ki_b, pd_temperature, pd_temperature_limit, "
    "pd_transfer_width, pd_interface_type, pd_location, pd_vendor, "
    "pd_writes_remaining_percent, pd_write_throttling, pd_world_wide_name, "
    "pd_write_errors, pd_write_cache_size, pd_zone_number, pd_write_policy, "
    "pd_zone_group, pd_zone_state"
    ") VALUES("
    "NULL, NULL, \"\", NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, "
    "NULL, NULL, \"\", NULL, NULL, 18446744071562067968, NULL, NULL, NULL, NULL, NULL, "
    "NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, "
    "NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, "
    "NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, "
    "NULL"
    ");";

constexpr const char* kPlugin =
    "INSERT INTO host_plugin_rows ("
    "pi_api_version, pi_object_id, pi_plugin_name, pi_poll_interval, pi_plugin_state, "
    "pi_instance_number, pi_process_number, pi_module_id, pi_vendor, pi_plugin_version"
    ") VALUES("
    "NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL"
    ");";

// The file cannot store the default object id.
TEST_F(Insert, WritesOnlyTheObjectIdOfADefaultDrive) {
  EXPECT_THROW(m_pStorage->insert(PD()), DBEXCEPTION::DatabaseException);
  ASSERT_EQ(m_Watch.Statements().size(), 2U);
  EXPECT_EQ(m_Watch.Statements()[0], "SELECT MAX(ID) FROM host_drive_rows");
  EXPECT_EQ(m_Watch.Statements()[1], kDrive);
}

TEST_F(Insert, OmitsTheValuesOfADefaultPlugin) {
  EXPECT_EQ(m_pStorage->insert(Plugin()), 1);
  ASSERT_EQ(m_Watch.Statements().size(), 2U);
  EXPECT_EQ(m_Watch.Statements()[0], "SELECT MAX(ID) FROM host_plugin_rows");
  EXPECT_EQ(m_Watch.Statements()[1], kPlugin);
}

}  // namespace
