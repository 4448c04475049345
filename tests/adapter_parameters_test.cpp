// SPDX-License-Identifier: MIT
// Reading, writing, scanning and the basic parameters, on the in-process camera and on scripted answers.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using vireo::common::DataType;
using vireo::common::Parameter;
using vireo::common::ParameterValue;

namespace {

class Parameters : public testing::Test {
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
  Parameter scanned(const std::string& name) {
    for (Parameter& parameter : adapter.Scan()) {
      if (parameter.name == name) return parameter;
    }
    return makeParameter("not listed", 0);
  }

  RecordingLogger logger;
  AravisScript script;
  OpenAdapter adapter;
};

}  // namespace

TEST_F(Parameters, AreReadFromTheCameraEveryTime) {
  const struct {
    const char* name;
    DataType type;
    ParameterValue value;
    const char* call;
  } rows[] = {
      {"Width", DataType::Int32, 512, "get_integer Width"},
      {"ExposureTime", DataType::Float, 10000.0f, "get_float ExposureTime"},
      {"LineStatus", DataType::Bool, false, "get_boolean LineStatus"},
      {"DeviceModelName", DataType::String, adapter.Read("DeviceModelName").value,
       "get_string DeviceModelName"},
      {"PixelFormat", DataType::String, std::string("Mono8"), "get_string PixelFormat"},
  };
  script.takeCalls();
  for (const auto& row : rows) {
    const Parameter read = adapter.Read(row.name);
    EXPECT_EQ(read.name, row.name);
    EXPECT_EQ(read.type, row.type) << row.name;
    EXPECT_EQ(read.value, row.value) << row.name << " is " << read.GetValueAsString();
    EXPECT_THAT(script.takeCalls(), ElementsAre(row.call));
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
  EXPECT_THAT(script.takeCalls(), IsEmpty());

  const struct {
    const char* call;
    const char* name;
    const char* context;
  } rows[] = {
      {"get_integer", "Width", "Read integer"},         {"get_float", "ExposureTime", "Read float"},
      {"get_boolean", "LineStatus", "Read boolean"},    {"get_string", "DeviceUserID", "Read string"},
      {"get_string", "PixelFormat", "Read enum"},       {"set_integer", "Width", "Write integer"},
      {"set_float", "ExposureTime", "Write float"},     {"set_boolean", "UserOutputValue", "Write boolean"},
      {"set_string", "DeviceUserID", "Write string"},   {"set_string", "PixelFormat", "Write enum"},
      {"execute", "TriggerSoftware", "Execute command"}};
  for (const auto& row : rows) {
    script.fail(std::string(row.call) + " " + row.name, "out of order");
    const std::string error =
        std::string(row.context).starts_with("Read") ? readError(row.name) : writeError(row.name, 1);
    EXPECT_EQ(error, std::string(row.context) + " '" + row.name + "': out of order");
  }
  adapter.Disconnect();
  for (const auto& error : {readError("Width"), writeError("Width", 1), errorOf([&] { adapter.Scan(); })}) {
    EXPECT_EQ(error, "GenICamAdapter: not connected");
  }
}

TEST_F(Parameters, KeepOrOverwriteTheCacheWhenAReadFails) {
  const auto before = adapter.GetBasicParams();
  EXPECT_EQ(before.width, 512u);
  EXPECT_EQ(before.exposureTime, 0.01);
  EXPECT_EQ(before.pixelBytes, 1);
  script.fail("get_integer Width");
  script.fail("get_float ExposureTime");
  script.fail("get_string PixelFormat");
  for (const char* name : {"Width", "ExposureTime", "PixelFormat"})
    EXPECT_NE(readError(name), "nothing thrown");
  const auto after = adapter.GetBasicParams();
  EXPECT_EQ(after.width, 0u);
  EXPECT_EQ(after.exposureTime, 0.0);
  EXPECT_EQ(after.pixelBytes, 1);  // still Mono8
}

TEST_F(Parameters, AreConvertedForTheFeatureTheyAreWrittenTo) {
  const struct {
    const char* name;
    ParameterValue given;
    std::string read;
  } rows[] = {
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
      {"UserOutputValue", std::string("off"), "false"},
      {"UserOutputValue", std::string("YES"), "true"},
      {"UserOutputValue", std::string("2"), "false"},
      {"UserOutputValue", 1.0f, "true"},
      {"DeviceUserID", std::string("left"), "left"},
      {"PixelFormat", std::string("Mono16"), "Mono16"},
  };
  for (const auto& row : rows) {
    const Parameter given = makeParameter(row.name, row.given);
    adapter.Write(given);
    EXPECT_EQ(adapter.Read(row.name).GetValueAsString(), row.read)
        << row.name << " = " << given.GetValueAsString();
    const std::string text = given.GetValueAsString();
    EXPECT_THAT(logger.take(),
                ElementsAre("Write|10|GenICamAdapter: wrote '" + given.name + "' = '" + text + "'"));
  }
}

TEST_F(Parameters, OfAnUnusableTypeAreSentAsTheDefaultWithARecord) {
  const auto illegal = [](const std::string& type, const std::string& name) {
    return "GetValue||Illegal type: " + type + " encountered - parameter: " + name;
  };
  adapter.Write(makeParameter("OffsetX", 3.0f));
  EXPECT_THAT(logger.take(),
              ElementsAre(illegal("d", "OffsetX"), "Write|10|GenICamAdapter: wrote 'OffsetX' = '3'"));
  script.fail("set_string PixelFormat", "");
  adapter.Write(makeParameter("PixelFormat", true));
  const std::string text = "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";
  EXPECT_THAT(logger.take(), ElementsAre(illegal(text, "PixelFormat"),
                                         "Write|10|GenICamAdapter: wrote 'PixelFormat' = 'true'"));
  adapter.Write(makeParameter("TriggerSoftware", std::string("go")));
  EXPECT_THAT(logger.take(), ElementsAre("Write|10|GenICamAdapter: wrote 'TriggerSoftware' = 'go'"));
}

TEST_F(Parameters, OutOfRangeForAnIntegerFeatureAreRefusedBeforeAnythingIsSent) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {2147483648.0, -2147483649.0, infinity, std::nan("")}) {
    EXPECT_EQ(writeError("Width", value),
              "Parameter 'Width' value out of range: " + makeParameter("", value).GetValueAsString());
  }
  EXPECT_THAT(script.takeCalls(), IsEmpty());
  script.fail("set_integer Width", "");
  EXPECT_EQ(writeError("Width", 2147483647.9), "nothing thrown");
  EXPECT_EQ(adapter.GetBasicParams().width, 2147483647u);
}

TEST_F(Parameters, AreCachedInSinglePrecisionOnceWritten) {
  adapter.Write(makeParameter("AcquisitionFrameRate", 20.1));
  EXPECT_EQ(adapter.GetBasicParams().frameRate, static_cast<double>(20.1f));
  script.fail("set_float AcquisitionFrameRate");
  EXPECT_NE(writeError("AcquisitionFrameRate", 5.0), "nothing thrown");
  EXPECT_EQ(adapter.GetBasicParams().frameRate, static_cast<double>(20.1f));
}

TEST_F(Parameters, InABatchStopAtTheFirstFailure) {
  EXPECT_EQ(adapter.Read(std::vector<std::string>{"Width", "Height", "Width"}).size(), 3u);
  EXPECT_EQ(errorOf([&] {
              adapter.Read(std::vector<std::string>{"Width", "None", "Height"});
            }),
            "Parameter not found: None");
  EXPECT_EQ(errorOf([&] {
              adapter.Write(std::vector{makeParameter("Width", 128), makeParameter("None", 1),
                                        makeParameter("Height", 128)});
            }),
            "Parameter not found: None");
  EXPECT_EQ(adapter.GetBasicParams().width, 128u);
  EXPECT_EQ(adapter.GetBasicParams().height, 512u);
  adapter.Disconnect();
  EXPECT_THAT(adapter.Read(std::vector<std::string>{}), IsEmpty());
  EXPECT_NO_THROW(adapter.Write(std::vector<Parameter>{}));
}

TEST_F(Parameters, BatchesGoThroughTheInterface) {
  class Counting : public OpenAdapter {
   public:
    using OpenAdapter::Read;
    using OpenAdapter::Write;
    Parameter Read(const std::string& name) override { return makeParameter(name + "!", 1); }
    void Write(const Parameter& parameter) override { written += parameter.name; }
    std::string written;
  };
  Counting counting;
  vireo::common::AdapterBase& host = counting;
  EXPECT_EQ(host.Read(std::vector<std::string>{"A", "B"}).back().name, "B!");
  host.Write(std::vector{makeParameter("A", 1), makeParameter("B", 1)});
  EXPECT_EQ(counting.written, "AB");
}

TEST_F(Parameters, ScanListsEveryReadableFeatureWithItsMetadata) {
  const Parameter width = scanned("Width");
  EXPECT_EQ(width.type, DataType::Int32);
  EXPECT_EQ(width.metadata->name, "Width");
  EXPECT_EQ(width.metadata->max, 2048.0);
  EXPECT_TRUE(width.metadata->increment.has_value());
  EXPECT_TRUE(width.metadata->writable);
  EXPECT_FALSE(width.metadata->description.empty());
  const Parameter exposure = scanned("ExposureTime");
  EXPECT_EQ(exposure.metadata->unit, "us");
  EXPECT_GT(exposure.metadata->max, exposure.metadata->min);
  EXPECT_FALSE(exposure.metadata->increment.has_value());
  const Parameter format = scanned("PixelFormat");
  EXPECT_EQ(format.type, DataType::String);
  EXPECT_THAT(format.metadata->entries, Contains("Mono16"));
  EXPECT_FALSE(format.metadata->min.has_value());
  EXPECT_FALSE(scanned("SensorWidth").metadata->writable);
  EXPECT_TRUE(scanned("SensorWidth").metadata->readable);
  EXPECT_TRUE(scanned("Gamma").metadata->writable);
  EXPECT_EQ(scanned("ActionDeviceKey").name, "not listed");
  EXPECT_EQ(scanned("AcquisitionStart").name, "not listed");
  script.takeCalls();
  const auto list = adapter.Scan();
  EXPECT_TRUE(std::is_sorted(list.begin(), list.end(), [](auto& a, auto& b) { return a.name < b.name; }));
  EXPECT_THAT(script.takeCalls(), Not(Contains(HasSubstr("Gamma"))));
}

TEST_F(Parameters, ScanSurvivesWhatTheCameraRefuses) {
  script.fail("get_integer Width", "no integer");
  script.fail("bounds_float ExposureTime", "no bounds");
  script.fail("get_float ExposureTime", "no float");
  script.fail("get_boolean LineStatus", "no boolean");
  script.fail("get_string PixelFormat", "no text");
  script.during("get_integer Height", [] { throw std::runtime_error("odd"); });
  const auto list = adapter.Scan();
  EXPECT_THAT(logger.take(),
              ElementsAre("scanParameters|10|GenICamAdapter: failed to read float 'ExposureTime': no float",
                          "scanParameters|10|GenICamAdapter: error reading 'Height': odd",
                          "scanParameters|10|GenICamAdapter: failed to read integer 'Width': no integer"));
  const auto value = [&](const std::string& name) {
    const auto found = std::find_if(list.begin(), list.end(), [&](auto& p) { return p.name == name; });
    return found->GetValueAsString() + " up to " + std::to_string(found->metadata->max.value_or(0));
  };
  EXPECT_EQ(value("Width"), "0 up to 2048.000000");
  EXPECT_EQ(value("PixelFormat"), "Mono8 up to 0.000000");
  EXPECT_EQ(script.count("bounds_integer Width"), 1u);
}

TEST_F(Parameters, TheNativeDocumentIsTheCamerasToTheByte) {
  const auto document = adapter.GetNativeParameterDocument();
  EXPECT_EQ(document.extension, ".xml");
  EXPECT_THAT(document.content, HasSubstr("<RegisterDescription"));
  script.xml = std::string("a\0b", 3);
  EXPECT_EQ(adapter.GetNativeParameterDocument().content, std::string("a\0b", 3));
}

TEST_F(Parameters, BasicOnesComeFromTheCacheByKind) {
  EXPECT_EQ(adapter.GetBasicParams().frameSize, 2048u * 2048u);
  adapter.Write(makeParameter("PixelFormat", std::string("Mono16")));
  EXPECT_EQ(adapter.GetBasicParams().frameSize, 2048u * 2048u * 2u);
  EXPECT_EQ(adapter.GetBasicParams().binningHorizontalParam, "BinningHorizontal");

  script.xml =
      R"(<RegisterDescription><Category Name="Root"><pFeature>Width</pFeature><pFeature>Height</pFeature>
      <pFeature>PixelFormat</pFeature></Category><Float Name="Width"><Value>640</Value></Float>
      <Integer Name="Height"><Value>-1</Value><Max>4294967297</Max></Integer>
      <String Name="PixelFormat"><Value>Mono16</Value></String></RegisterDescription>)";
  for (const char* call : {"bounds_integer Height", "get_string PixelFormat"}) script.fail(call);
  script.answer("get_integer Height", -1);
  adapter.Connect();
  const auto odd = adapter.GetBasicParams();
  EXPECT_EQ(odd.width, 0u);
  EXPECT_EQ(odd.widthParam, "Width");
  EXPECT_EQ(odd.height, 4294967295u);
  EXPECT_EQ(odd.maxHeight, 1u);
  EXPECT_EQ(odd.pixelBytes, 1);
  EXPECT_EQ(odd.exposureTimeParam, "");
  EXPECT_EQ(odd.frameSize, 262144u);  // the payload of the connection before
  adapter.Disconnect();
  const auto none = adapter.GetBasicParams();
  EXPECT_EQ(none.binningVertical, 1u);
  EXPECT_EQ(none.heightParam, "");
  EXPECT_EQ(none.frameSize, 262144u);
}
