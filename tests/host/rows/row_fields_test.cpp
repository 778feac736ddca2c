#include "host/rows/row_fields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/base/error.h"
#include "tests/support/row_test_support.h"

namespace qbt2::test {
namespace {

TEST(RowFields, NamesInTheirFixedOrder) {
  const ColumnCatalogue catalogue = small_catalogue();
  std::string names;
  for (const FieldIndex field : all_fields(catalogue)) {
    names += std::string(field_name(catalogue, field)) + " ";
  }
  EXPECT_EQ(
      names,
      "capture offset timestamp time_ns probe stp_master master type kind description address "
      "Bytes Tracked MaxWait Mode_ RouteID Wide ");
}

TEST(RowFields, ListsThatNameFields) {
  const ColumnCatalogue catalogue = small_catalogue();
  const struct {
    const char* list;
    std::vector<FieldIndex> fields;
  } cases[] = {
      {"offset", {1}},
      {"RouteID,address,Bytes", {15, 10, 11}},
      {" kind ,\tWide ", {8, 16}},
      {"routeid,TIME_NS", {15, 3}},
  };
  for (const auto& c : cases) EXPECT_EQ(parse_field_list(catalogue, c.list), c.fields) << c.list;
}

TEST(RowFields, AnExactNameIsPreferredToOneThatDiffersByCase) {
  const ColumnCatalogue catalogue{0x40, {{"", "MODE", "", 1}, {"", "Mode", "", 1}}};
  EXPECT_EQ(parse_field_list(catalogue, "Mode"), std::vector<FieldIndex>{12});
}

TEST(RowFields, RejectedListsNameTheReason) {
  const ColumnCatalogue catalogue = small_catalogue();
  const std::string far(10000, 'x');
  const struct {
    std::string list;
    std::string message;
  } cases[] = {
      {"", "empty name in the list of columns"},
      {"offset,,kind", "empty name in the list of columns"},
      {"offset,", "empty name in the list of columns"},
      {" , ", "empty name in the list of columns"},
      {"offset,RuteId", "unknown column 'RuteId'; the nearest is 'RouteID'"},
      {"Mode", "unknown column 'Mode'; the nearest is 'Mode_'"},
      {"Route ID", "unknown column 'Route ID'; the nearest is 'RouteID'"},
      {"ruotied", "unknown column 'ruotied'; the nearest is 'RouteID'"},  // a swap each
      {"speed", "unknown column 'speed'"},                                // none is near
      {far, "unknown column '" + far + "'"},
      {"kind,offset,kind", "column 'kind' is named twice"},
      {"kind,KIND", "column 'kind' is named twice"},
  };
  for (const auto& c : cases) {
    try {
      parse_field_list(catalogue, c.list);
      ADD_FAILURE() << "accepted: " << c.list;
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::kUsage) << c.list;
      EXPECT_EQ(error.what(), c.message);
    }
  }
}

}  // namespace
}  // namespace qbt2::test
