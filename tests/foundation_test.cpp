// SPDX-License-Identifier: MIT
// Time stamps, records, tracing, name tables and the parameter record.
#include <gmock/gmock.h>
#include <pthread.h>

#include <locale>
#include <map>
#include <regex>
#include <thread>

#include "brio/fnd/datatype_names.h"
#include "brio/fnd/iso_time.h"
#include "support/recording_logger.h"
#include "vireo/common/adapter_base.h"
#include "vireo/common/parameter.h"

using brio::fnd::IsoTime;
using testing::ElementsAre;
using testing::IsEmpty;
using vireo::common::Parameter;
using vireo::common::ParameterValue;
namespace datatype = brio::fnd::datatype;

namespace {

constexpr double instant = 1772600767.0;  // 2026-03-04T05:06:07

Parameter parameterOf(ParameterValue value) {
  Parameter parameter;
  parameter.name = "Gain";
  parameter.value = std::move(value);
  return parameter;
}

struct GermanNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

void logAt(std::int32_t level) {
  BRIO_LOG(level, "value {} of {}", 3, "x");
}

}  // namespace

TEST(IsoTime, WritesTheFractionPositionallyAndNeverRoundsTheSecondsUp) {
  const std::tuple<double, int, const char*> rows[] = {
      {instant, 6, "2026-03-04T05:06:07"},
      {instant + 0.5, 6, "2026-03-04T05:06:07.5"},
      {instant + 0.9999996, 6, "2026-03-04T05:06:07"},
      {instant + 0.75, 0, "2026-03-04T05:06:07"},
      {instant + 0.75, 1, "2026-03-04T05:06:07.8"},
      {0.1234567, 6, "1970-01-01T00:00:00.123457"},
      {0.00001234, 6, "1970-01-01T00:00:00.00001234"},
      {0.000012, 1, "1970-01-01T00:00:00.00001"},
      {1e-7, 6, "1970-01-01T00:00:00.0000001"},
      {951782400.0, 6, "2000-02-29T00:00:00"},
      {-32253584400.25, 0, "947-12-04T15:00:00"},
  };
  for (const auto& [time, precision, text] : rows) {
    EXPECT_EQ(IsoTime(time, static_cast<std::uint8_t>(precision)), text) << time;
  }
}

TEST(Record, IsOneLineOfStampPathLineFunctionThreadMessage) {
  RecordingLogger logger;
  std::thread([] {
    pthread_setname_np(pthread_self(), "cam-0");
    logAt(brio::fnd::loglevel::Warning);
  }).join();
  ASSERT_EQ(logger.entries().size(), 1u);
  const auto entry = logger.entries().front();
  EXPECT_EQ(entry.level, 30);
  const std::regex line(
      R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.0*[1-9]\d{0,5})?:\.\./tests/foundation_test\.cpp:\d+:logAt:cam-0: value 3 of x)");
  EXPECT_TRUE(std::regex_match(entry.text, line)) << entry.text;

  logger.take();
  BRIO_LOG_INFO("wrote '{}'", "a\nb\r");
  Parameter twoLines;
  twoLines.name = "c\nd";
  twoLines.GetValue<double>();
  EXPECT_THAT(logger.take(), ElementsAre("TestBody|20|wrote 'a b '", testing::EndsWith("parameter: c d")));
}

TEST(Record, BelowTheThresholdNothingIsFormattedOrWritten) {
  RecordingLogger logger(30);
  bool formatted = false;
  const auto argument = [&] { return formatted = true; };
  if (logger.threshold > 0) BRIO_LOG_INFO("{}", argument());
  EXPECT_FALSE(formatted);
  for (const int level : {0, 10, 20, 29, 30, 40}) logAt(level);
  EXPECT_THAT(logger.take(), ElementsAre("logAt|30|value 3 of x", "logAt|40|value 3 of x"));
}

TEST(Logger, FallbackWritesWarningsToStandardErrorAndIsNotAHostsLogger) {
  EXPECT_FALSE(brio::fnd::HasLogger());
  testing::internal::CaptureStderr();
  logAt(20);
  logAt(30);
  parameterOf(1).GetValue<double>();
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_THAT(written, testing::MatchesRegex(".*: value 3 of x\n.*: Illegal type: d [^\n]*\n"));
  const RecordingLogger logger;
  EXPECT_TRUE(brio::fnd::HasLogger());
}

TEST(NameTables, MapBothWaysAndKeepTheirSpelling) {
  const std::map<std::string, int> codes = {{"Array", 0x1},
                                            {"Invalid", 0x10},
                                            {"Char", 0x20},
                                            {"Byte", 0x40},
                                            {"Bool", 0x80},
                                            {"Int16", 0x100},
                                            {"UInt16", 0x200},
                                            {"Int32", 0x400},
                                            {"UInt32", 0x800},
                                            {"Int64", 0x1000},
                                            {"UInt64", 0x2000},
                                            {"Float", 0x10000},
                                            {"Double", 0x20000},
                                            {"Complex", 0x80000},
                                            {"String", 0x21},
                                            {"ComplexFloat", 0x90000},
                                            {"ComplexDouble", 0xA0000},
                                            {"Bitmask", 0x200000},
                                            {"Unspecified", 0x100000}};
  std::map<std::string, int> named;
  std::map<std::string, int> upper;
  for (const auto& row : datatype::Names()) named[row.left] = static_cast<int>(row.right);
  for (const auto& row : datatype::UpperNames()) upper[row.left] = static_cast<int>(row.right);
  EXPECT_EQ(named, codes);
  EXPECT_EQ(upper.size(), codes.size());
  for (const auto& [name, code] : codes)
    EXPECT_EQ(upper[boost::algorithm::to_upper_copy(name)], code) << name;
}

TEST(Parameter, TypedAccessConvertsNothingAndRecordsAMismatchWhateverTheThreshold) {
  RecordingLogger logger(1000);
  EXPECT_EQ(parameterOf(7).GetValue<int>(), 7);
  EXPECT_EQ(parameterOf(std::string("on")).GetValue<std::string>(), "on");
  EXPECT_THAT(logger.take(), IsEmpty());

  EXPECT_EQ(parameterOf(1.5f).GetValue<double>(), 0.0);
  EXPECT_EQ(parameterOf(std::string("true")).GetValue<bool>(), false);
  EXPECT_EQ(parameterOf(7).GetValue<std::string>(), "");
  EXPECT_EQ(parameterOf(7).GetValue<float>(), 0.0f);
  EXPECT_EQ(parameterOf(7.0).GetValue<int>(), 0);
  EXPECT_EQ(logger.entries().front().field(3), "../common/src/include/vireo/common/parameter.h");
  std::vector<std::string> expected;
  for (const char* type : {"d", "b", "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE", "f", "i"})
    expected.push_back("GetValue||Illegal type: " + std::string(type) + " encountered - parameter: Gain");
  EXPECT_EQ(logger.take(), expected);
}

TEST(Parameter, TypedAccessIsTraced) {
#ifdef __clang__
  GTEST_SKIP() << "trace texts are GCC's";
#endif
  RecordingLogger logger(0);
  parameterOf(7).GetValue<int>();
  parameterOf(std::string()).GetValue<std::string>();
  const std::string accessor = "GetValue|0|const T vireo::common::Parameter::GetValue() const [with T = ";
  EXPECT_THAT(logger.take(), ElementsAre(accessor + "int]", accessor + "std::__cxx11::basic_string<char>]"));
}

TEST(Parameter, TextOfAValueReadsBackAndIgnoresTheLocale) {
  const ParameterValue values[] = {-7,   0.1f,  0.1,      1.0f, 1e300, 1234567.25, std::string("a b"),
                                   true, false, INT32_MIN};
  std::string texts;
  const std::locale before = std::locale::global(std::locale(std::locale(), new GermanNumbers));
  for (const ParameterValue& value : values) texts += parameterOf(value).GetValueAsString() + "|";
  EXPECT_EQ(texts, "-7|0.1|0.1|1|1e+300|1234567.25|a b|true|false|-2147483648|");
  std::locale::global(before);
}
