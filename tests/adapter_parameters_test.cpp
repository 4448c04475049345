// SPDX-License-Identifier: MIT
// Reading, writing, scanning and the basic parameters, on the in-process camera and on scripted answers.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using namespace testing;
using vireo::common::DataType;
using vireo::common::Parameter;
using vireo::common::ParameterValue;

namespace {

class Parameters : public Test {
 protected:
  void SetUp() override {
    adapter.Connect();
    logger.take();
    script.takeCalls();
  }
  std::string readError(const std::string& name) {
    return errorOf([&] { adapter.Read(name); });
  }
  std::string writeError(const std::string& name, ParameterValue value) {
    return errorOf([&] { adapter.Write(makeParameter(name, std::move(value))); });
  }
  static std::string wrote(const std::string& name, const std::string& value) {
    return "Write|10|GenICamAdapter: wrote '" + name + "' = '" + value + "'";
  }
  static Parameter in(const std::vector<Parameter>& list, const std::string& name) {
    const auto found = std::find_if(list.begin(), list.end(), [&](auto& p) { return p.name == name; });
    return found == list.end() ? Parameter() : *found;
  }

  RecordingLogger logger;
  AravisScript script;
  OpenAdapter adapter;
};

}  // namespace

TEST_F(Parameters, AreReadFromTheCameraEveryTime) {
  const std::tuple<const char*, DataType, const char*, const char*> rows[] = {
      {"Width", DataType::Int32, "512", "get_integer Width"},
      {"ExposureTime", DataType::Float, "10000", "get_float ExposureTime"},
      {"LineStatus", DataType::Bool, "false", "get_boolean LineStatus"},
      {"DeviceVendorName", DataType::String, "Aravis", "get_string DeviceVendorName"},
      {"PixelFormat", DataType::String, "Mono8", "get_string PixelFormat"},
  };
  for (const auto& [name, type, value, call] : rows) {
    const Parameter read = adapter.Read(name);
    EXPECT_EQ(std::tuple(read.name, read.type, read.GetValueAsString()), std::tuple(name, type, value));
    EXPECT_THAT(script.takeCalls(), ElementsAre(call));
  }
  EXPECT_EQ(adapter.Read("AcquisitionStart").name, "AcquisitionStart");
  EXPECT_THAT(script.takeCalls(), IsEmpty());
  EXPECT_THAT(logger.take(), IsEmpty());
}

TEST_F(Parameters, NameWhatCannotBeReadOrWritten) {
  EXPECT_EQ(readError("width"), "Parameter not found: width");
  EXPECT_EQ(readError("Root"), "Unsupported node type for read: Root");
  EXPECT_EQ(writeError("width", 1), "Parameter not found: width");
  EXPECT_EQ(writeError("Root", 1), "Unsupported node type for write: Root");
  EXPECT_EQ(writeError("SensorWidth", 1), "Parameter 'SensorWidth' is read-only");
  adapter.Disconnect();
  for (const auto& error : {readError("Width"), writeError("Width", 1), errorOf([&] { adapter.Scan(); }),
                            errorOf([&] { adapter.StartAcquisition({}); })}) {
    EXPECT_EQ(error, "GenICamAdapter: not connected");
  }
  adapter.StopAcquisition();
  EXPECT_THAT(script.takeCalls(), IsEmpty());
}

TEST_F(Parameters, NumbersThatFailToBeReadAreZeroInTheCacheAndTextsStay) {
  EXPECT_EQ(adapter.GetBasicParams().exposureTime, 0.01);
  for (const char* call : {"get_integer Width", "get_float ExposureTime", "get_string PixelFormat"}) {
    script.fail(call);
    readError(std::string(call).substr(std::string(call).find(' ') + 1));
  }
  script.fail("get_string PixelFormat", "");  // neither a text nor an error
  EXPECT_EQ(readError("PixelFormat"), "nothing thrown");
  const auto after = adapter.GetBasicParams();
  EXPECT_EQ(after.width, 0u);
  EXPECT_EQ(after.exposureTime, 0.0);
  EXPECT_EQ(after.frameSize, 2048u * 2048u);  // still Mono8
}

TEST_F(Parameters, AreConvertedForTheFeatureTheyAreWrittenTo) {
  const std::tuple<const char*, ParameterValue, const char*> rows[] = {
      {"Width", 256, "256"},
      {"Width", 64.9, "64"},
      {"ExposureTime", 2000.5f, "2000"},  // the camera counts whole microseconds
      {"ExposureTime", 3000, "3000"},
      {"ExposureTime", 4000.0, "4000"},
      {"BlackLevel", 0.1, "0.1"},
      {"UserOutputValue", true, "true"},
      {"UserOutputValue", 0, "false"},
      {"UserOutputValue", 0.5, "true"},
      {"UserOutputValue", std::string(" true"), "false"},
      {"UserOutputValue", std::string("On"), "true"},
      {"UserOutputValue", std::string("2"), "false"},
      {"UserOutputValue", 1.0f, "true"},
      {"DeviceUserID", std::string("left"), "left"},
      {"PixelFormat", std::string("Mono16"), "Mono16"},
  };
  for (const auto& [name, value, read] : rows) {
    const Parameter given = makeParameter(name, value);
    adapter.Write(given);
    EXPECT_EQ(adapter.Read(name).GetValueAsString(), read) << name;
    EXPECT_THAT(logger.take(), ElementsAre(wrote(name, given.GetValueAsString())));
  }
  adapter.Write(makeParameter("AcquisitionFrameRate", 20.1));
  script.fail("set_float AcquisitionFrameRate");
  EXPECT_EQ(writeError("AcquisitionFrameRate", 5.0), "Write float 'AcquisitionFrameRate': scripted");
  EXPECT_EQ(adapter.GetBasicParams().frameRate, static_cast<double>(20.1f));
  // As on USB with a text that is longer than the camera's commands.
  script.fail("set_string DeviceUserID", "");
  EXPECT_THAT(writeError("DeviceUserID", std::string(41, 'x')),
              StartsWith("Write string 'DeviceUserID': the camera does not hold the text"));
}

TEST_F(Parameters, OfAnUnusableTypeAreSentAsTheDefaultWithARecord) {
  const std::string illegal = "GetValue||Illegal type: ";
  adapter.Write(makeParameter("OffsetX", 3.0f));
  EXPECT_THAT(logger.take(),
              ElementsAre(illegal + "d encountered - parameter: OffsetX", wrote("OffsetX", "3")));
  script.fail("set_string PixelFormat", "");
  adapter.Write(makeParameter("PixelFormat", true));
  EXPECT_THAT(logger.take(), ElementsAre(HasSubstr(illegal), wrote("PixelFormat", "true")));
}

TEST_F(Parameters, OutOfRangeForAnIntegerFeatureAreRefusedBeforeAnythingIsSent) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {0x1p63, -0x1p63 - 2048.0, infinity, -infinity, std::nan("")}) {
    EXPECT_EQ(writeError("Width", value),
              "Parameter 'Width' value out of range: " + makeParameter("", value).GetValueAsString());
  }
  EXPECT_THAT(script.takeCalls(), IsEmpty());
  for (const double value : {2147483648.9, -0x1p63, 0x1p63 - 1024.0, 4294967299.0}) {
    script.fail("set_integer Width", "");
    EXPECT_EQ(writeError("Width", value), "nothing thrown") << value;
  }
  EXPECT_EQ(adapter.GetBasicParams().width, 3u);  // the low 32 bits of what was sent
}

TEST_F(Parameters, InABatchStopAtTheFirstFailureAndGoThroughTheInterface) {
  using Names = std::vector<std::string>;
  const std::string missing = "Parameter not found: None";
  const std::vector batch{makeParameter("Width", 128), makeParameter("None", 1),
                          makeParameter("Height", 128)};
  EXPECT_EQ(errorOf([&] { adapter.Read(Names{"Width", "None", "Height"}); }), missing);
  EXPECT_EQ(errorOf([&] { adapter.Write(batch); }), missing);
  EXPECT_EQ(adapter.GetBasicParams().width, 128u);
  EXPECT_EQ(adapter.GetBasicParams().height, 512u);
  adapter.Disconnect();
  EXPECT_THAT(adapter.Read(Names{}), IsEmpty());
  EXPECT_NO_THROW(adapter.Write(std::vector<Parameter>{}));

  class Substitute : public OpenAdapter {
   public:
    using OpenAdapter::Read;
    using OpenAdapter::Write;
    Parameter Read(const std::string& name) override { return makeParameter(name + "!", 1); }
    void Write(const Parameter& parameter) override { written += parameter.name + " "; }
    std::string written;
  } substitute;
  EXPECT_EQ(substitute.Read(Names{"A", "B"}).back().name, "B!");
  substitute.Write(batch);
  EXPECT_EQ(substitute.written, "Width None Height ");
}

TEST_F(Parameters, ScanListsEveryReadableFeatureWithItsMetadata) {
  const auto list = adapter.Scan();
  EXPECT_TRUE(std::ranges::is_sorted(list, {}, &Parameter::name));
  EXPECT_THAT(script.takeCalls(), Not(Contains(HasSubstr("Gamma"))));  // not available
  const Parameter width = in(list, "Width");
  EXPECT_EQ(width.type, DataType::Int32);
  EXPECT_EQ(std::tuple(width.metadata->max, width.metadata->increment), std::tuple(2048.0, 8.0));
  const auto exposure = *in(list, "ExposureTime").metadata;
  EXPECT_EQ(exposure.unit, "us");
  EXPECT_TRUE(exposure.max > exposure.min && !exposure.increment);
  const auto format = *in(list, "PixelFormat").metadata;
  EXPECT_THAT(format.entries, Contains("Mono16"));
  EXPECT_FALSE(format.min.has_value());
  EXPECT_FALSE(in(list, "SensorWidth").metadata->writable);
  for (const char* name : {"ActionDeviceKey", "AcquisitionStart"}) EXPECT_EQ(in(list, name).name, "") << name;
}

TEST_F(Parameters, TheNativeDocumentIsTheCamerasToTheByte) {
  script.xml = std::string("a\0b", 3);
  const auto document = adapter.GetNativeParameterDocument();
  EXPECT_EQ(std::pair(document.content, document.extension), std::pair(*script.xml, std::string(".xml")));
}

TEST_F(Parameters, BasicOnesComeFromTheCacheByKind) {
  EXPECT_EQ(adapter.GetBasicParams().frameSize, 2048u * 2048u);
  adapter.Write(makeParameter("PixelFormat", std::string("Mono16")));
  EXPECT_EQ(adapter.GetBasicParams().frameSize, 2048u * 2048u * 2u);
  EXPECT_EQ(adapter.GetBasicParams().binningHorizontalParam, "BinningHorizontal");
  EXPECT_EQ(adapter.GetBasicParams().binningVerticalParam, "BinningVertical");

  script.xml =
      R"(<RegisterDescription><Category Name="Root"><pFeature>Width</pFeature><pFeature>Height</pFeature>
      <pFeature>PixelFormat</pFeature></Category><Float Name="Width"><Value>640</Value></Float>
      <Integer Name="Height"><Value>-1</Value><Max>4294967297</Max></Integer>
      <String Name="PixelFormat"><Value>Mono16</Value></String></RegisterDescription>)";
  for (const char* call : {"bounds_integer Height", "get_string PixelFormat"}) script.fail(call);
  script.answer("get_integer Height", -1);
  adapter.Connect();
  const auto odd = adapter.GetBasicParams();
  EXPECT_EQ(odd.widthParam + odd.exposureTimeParam, "Width");
  // The last is the payload of the connection before.
  EXPECT_THAT(
      (std::vector<std::uint64_t>{odd.width, odd.height, odd.maxHeight, odd.pixelBytes, odd.frameSize}),
      ElementsAre(0u, 4294967295u, 1u, 1u, 262144u));
}
