// What a log line of the library must be, argument by argument.
//
// Room: tests.
#pragma once

#include "tests/support/fake_osal.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace log_format {
inline constexpr const char *pack_parameters = "[VARKO]:Param invalid(%s, %u, %s)";
inline constexpr const char *unpack_parameters = "[VARKO]:Param invalid(%s, %d, %s)";
inline constexpr const char *table = "[VARKO]:Table offset(%u) is out of range(4 - %u)";
inline constexpr const char *vtable = "[VARKO]:Vtable offset(%u) is out of range(4 - %u)";
inline constexpr const char *vtable_length = "[VARKO]:Vtable Len(%u) is out of range(0 - %u)";
inline constexpr const char *allocation = "[VARKO]:Malloc unpack data unsuccess, size(%u)";
} // namespace log_format

// Exactly one line, with these and with the arguments that all lines share.
inline void expect_one_line(const std::vector<fake_osal::log_line> &lines,
                            const std::string &function, const std::string &format,
                            const std::string &message, uint32_t category = 22) {
  ASSERT_EQ(lines.size(), 1U);
  const fake_osal::log_line &line = lines.front();
  EXPECT_EQ(line.module_name, "VARKO");
  EXPECT_EQ(line.submodule_name, "VARKO_TOLVIAN_SERIAL");
  EXPECT_EQ(line.mem_module_id, 25088U);
  EXPECT_EQ(line.level, 2U);
  EXPECT_EQ(line.category, category);
  EXPECT_EQ(line.text, "");
  EXPECT_EQ(line.function, function);
  EXPECT_EQ(line.format, format);
  EXPECT_EQ(line.message, message);
}
