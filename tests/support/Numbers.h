// Names for the host's numbers, as the tests expect them. The numbers are repeated here instead of
// being included from a header of the host or the plug-in, so that an accidental change there fails
// a test.
#pragma once

#include <cstdint>

namespace CorvaneTest::Number {

// Results of commands.
constexpr std::uint32_t ERR_GENERAL = 20000;
constexpr std::uint32_t ERR_NO_SUPPORTED_HARDWARE = 20001;
constexpr std::uint32_t ERR_INVALID_COMMAND = 20002;
constexpr std::uint32_t ERR_COMMAND_ERROR = 20003;
constexpr std::uint32_t ERR_INVALID_PROPERTY = 20004;
constexpr std::uint32_t ERR_INVALID_OPERATION = 20005;
constexpr std::uint32_t ERR_MEMORY_ERROR = 20007;
constexpr std::uint32_t ERR_INVALID_OBJECT_ID = 20008;
constexpr std::uint32_t ERR_LOCK_INITIALIZATION_FAILED = 20011;
constexpr std::uint32_t ERR_API_INITIALIZATION_FAILED = 20012;
constexpr std::uint32_t ERR_ADAPTER_BUSY = 20031;
constexpr std::uint32_t ERR_LOCATE_IN_PROGRESS = 20040;
constexpr std::uint32_t ERR_NO_LOCATE_STARTED = 20041;
constexpr std::uint32_t ERR_PHYSICALDRIVE_NOT_AVAILABLE = 20042;

// Operations.
constexpr std::uint32_t OP_GET_EVENTS = 50002;
constexpr std::uint32_t OP_FORMAT_DEVICE = 50026;
constexpr std::uint32_t OP_MAKE_ONLINE = 50029;
constexpr std::uint32_t OP_MAKE_OFFLINE = 50030;
constexpr std::uint32_t OP_LOCATE_DEVICE = 50034;
constexpr std::uint32_t OP_STOP_LOCATE_DEVICE = 50035;
constexpr std::uint32_t OP_ATTACH = 50126;
constexpr std::uint32_t OP_DETACH = 50127;
constexpr std::uint32_t OP_FORCE_DETACH = 50128;

// Events that are expected by tests other than the table of all events.
constexpr std::uint32_t CTRL_INTERNAL_ERROR = 10957;
constexpr std::uint32_t CTRL_ATTACH_FAILED = 10981;
constexpr std::uint32_t CTRL_DETACH_FAILED = 10982;
constexpr std::uint32_t CTRL_ATTACHED = 10983;
constexpr std::uint32_t CTRL_DETACHED = 10984;
constexpr std::uint32_t PD_FORMAT_CHANGED = 10985;
constexpr std::uint32_t CTRL_PNPADD = 11093;
constexpr std::uint32_t CTRL_PNPREMOVE = 11094;

// Properties requested from objects that may not have them.
namespace Property {
constexpr std::uint32_t VENDOR = 30003;
constexpr std::uint32_t VENDOR_API_VERSION = 30004;
constexpr std::uint32_t POLL_INTERVAL = 30005;
constexpr std::uint32_t NAME = 30007;
constexpr std::uint32_t STATUS = 30017;
constexpr std::uint32_t DRIVER_VERSION = 30018;
constexpr std::uint32_t SERIAL_NUMBER = 30022;
constexpr std::uint32_t MEMORY_SIZE = 30035;
constexpr std::uint32_t ACTIVITY = 30054;
constexpr std::uint32_t TYPE = 30056;
constexpr std::uint32_t PHYSICAL_SIZE = 30059;
constexpr std::uint32_t CONFIGURABLE_SIZE = 30060;
constexpr std::uint32_t VERSION = 30099;
constexpr std::uint32_t RANGE_PARAM = 30116;
constexpr std::uint32_t CHOICE_PARAM = 30118;
constexpr std::uint32_t ADAPTER_NUMBER = 30120;
constexpr std::uint32_t PORT_NUMBER = 30122;
constexpr std::uint32_t UNIQUE_ID = 30137;
constexpr std::uint32_t CHIP_TEMPERATURE = 30442;
constexpr std::uint32_t BLOCK_SIZE = 30460;
constexpr std::uint32_t FORMATTED_SIZE = 30461;
constexpr std::uint32_t SIZE = 30464;
}  // namespace Property

}  // namespace CorvaneTest::Number
