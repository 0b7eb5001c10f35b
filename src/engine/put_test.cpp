#include "engine/put.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"

namespace {

struct PutTest : testing::Test, FakeRun {
  PutTest() { Hold("data"); }
  MQLONG Put() { return target.Take(message, place, false).reason(); }
};

std::string CfhOfVersion(MQLONG version) {
  MQCFH header;
  header.Version = version;
  return {reinterpret_cast<const char*>(&header), sizeof header};
}

TEST_F(PutTest, ACfhErrorIsRepeatedWithAVersion1DescriptorWhenThatLosesNothing) {
  struct Case {
    std::string Data;
    void (*Change)(MQMD& descriptor);
    bool Repeated;
  };
  const auto nothing = [](MQMD&) {};
  const Case cases[] = {{CfhOfVersion(1), nothing, true},
                        {CfhOfVersion(1), [](MQMD& md) { md.GroupId[23] = 1; }, false},
                        {CfhOfVersion(1), [](MQMD& md) { md.MsgSeqNumber = 2; }, false},
                        {CfhOfVersion(1), [](MQMD& md) { md.Offset = 1; }, false},
                        {CfhOfVersion(1), [](MQMD& md) { md.MsgFlags = 1; }, false},
                        {CfhOfVersion(3), nothing, false},
                        {CfhOfVersion(1).substr(0, 35), nothing, false}};
  for (const Case& c : cases) {
    Hold(c.Data);
    c.Change(message.Descriptor);
    mq.PutDescriptors.clear();
    mq.Script["MQPUT"] = {{MQCC_FAILED, MQRC_CFH_ERROR}};
    EXPECT_EQ(Put(), c.Repeated ? 0 : MQRC_CFH_ERROR);
    EXPECT_EQ(mq.PutDescriptors.size(), c.Repeated ? 2U : 1U);
    EXPECT_EQ(mq.PutDescriptors.back().Version, c.Repeated ? 1 : 2);
  }
}

TEST_F(PutTest, OldCommandHeadersBecomeVersion3InTheirOwnByteOrder) {
  asked.Output.RaiseCfhVersion = true;
  struct Case {
    const char* Format;
    MQLONG Encoding;
    std::string Data;
    std::string VersionAfter;
  };
  const std::string big{'\0', '\0', '\0', '\3'}, little{'\3', '\0', '\0', '\0'}, one{'\1', '\0', '\0', '\0'};
  const Case cases[] = {{"MQADMIN ", MQENC_NATIVE, CfhOfVersion(1), little},
                        {"MQPCF   ", MQENC_S390, CfhOfVersion(0x01000000), big},
                        {"MQSTR   ", MQENC_NATIVE, CfhOfVersion(1), one},
                        {"MQADMIN ", MQENC_NATIVE, CfhOfVersion(1).substr(0, 20), one}};
  for (const Case& c : cases) {
    Hold(c.Data);
    FillField(message.Descriptor.Format, 8, c.Format);
    message.Descriptor.Encoding = c.Encoding;
    ASSERT_EQ(Put(), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(message.Data) + 8, 4), c.VersionAfter);
  }
  EXPECT_EQ(CfhVersion(message.Descriptor, message.Data, 11), 0);
}

TEST_F(PutTest, OverridesAndPutTimesGoIntoTheDescriptor) {
  asked.Output.Context = PutContext::SetAllTimes;
  asked.Output.Override.Priority = 9;
  asked.Output.Override.Format = "MQSTR";
  asked.Output.Override.ReplyTo = {"QMR", ""};
  ASSERT_EQ(Put(), 0);
  const MQMD& put = mq.PutDescriptors.back();
  EXPECT_EQ(put.Priority, 9);
  EXPECT_EQ(put.CodedCharSetId, 0);
  EXPECT_TRUE(IsFormat(put.Format, MQFMT_STRING));
  EXPECT_EQ(NameInField(put.ReplyToQMgr, 48), "QMR");
  EXPECT_EQ(std::string_view(put.PutDate, 2), "20");
  EXPECT_EQ(std::string_view(put.PutTime + 6, 2), "00");
}

}  // namespace
