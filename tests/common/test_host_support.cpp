#include <ipxact/common/ComMsgMgr.h>
#include <ipxact/common/HEXAll.h>
#include <ipxact/common/HI18N.h>
#include <ipxact/common/HPAParamMgr.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr ComMsgMgr::MsgMask schemaMask = 0x8000000;

class MessageManager : public testing::Test {
protected:
  void SetUp() override {
    previous_ = ComMsgMgr::setHandler([this](const ComMsgMgr::Message& m) { received_.push_back(m); });
  }
  void TearDown() override { ComMsgMgr::setHandler(previous_); }

  std::vector<ComMsgMgr::Message> received_;

private:
  ComMsgMgr::Handler previous_;
};

TEST_F(MessageManager, HandlerSeesEveryFieldAndTheFormattedText) {
  ComMsgMgr::sendMsg::eval(2, "HIPGSBase.cpp", 57, "ipbuild", schemaMask, "@19-536@%s%s",
                           "tristate_role", ": value does not match its pattern");
  ASSERT_EQ(received_.size(), 1u);
  const ComMsgMgr::Message& m = received_[0];
  EXPECT_EQ(m.severity, 2);
  EXPECT_EQ(m.domain, "ipbuild");
  EXPECT_EQ(m.mask, schemaMask);
  EXPECT_EQ(m.format, "@19-536@%s%s");
  EXPECT_EQ(m.text, "@19-536@tristate_role: value does not match its pattern");
  EXPECT_STREQ(m.file, "HIPGSBase.cpp");
  EXPECT_EQ(m.line, 57);
}

TEST_F(MessageManager, LongTextIsNotTruncated) {
  const std::string listing(10000, 'x');
  ComMsgMgr::sendMsg::eval(1, __FILE__, __LINE__, "ipbuild", schemaMask, "@19-395@%s%s",
                           listing.c_str(), "<end>");
  ASSERT_EQ(received_.size(), 1u);
  EXPECT_EQ(received_[0].text, "@19-395@" + listing + "<end>");
}

TEST_F(MessageManager, SetHandlerReturnsTheHandlerItReplaces) {
  int secondCalls = 0;
  ComMsgMgr::Handler first =
      ComMsgMgr::setHandler([&secondCalls](const ComMsgMgr::Message&) { ++secondCalls; });
  first(ComMsgMgr::Message{1, "ipbuild", schemaMask, "@19-537@%s", "direct", __FILE__, __LINE__});
  EXPECT_EQ(received_.size(), 1u);
  EXPECT_EQ(secondCalls, 0);

  ComMsgMgr::sendMsg::eval(1, __FILE__, __LINE__, "ipbuild", schemaMask, "@19-537@%s", "routed");
  EXPECT_EQ(secondCalls, 1);
  EXPECT_EQ(received_.size(), 1u);
}

TEST_F(MessageManager, DefaultHandlerWritesOneLinePerMessageToStderr) {
  ComMsgMgr::setHandler(nullptr);
  testing::internal::CaptureStderr();
  ComMsgMgr::sendMsg::eval(2, __FILE__, __LINE__, "ipbuild", schemaMask, "@19-537@%s",
                           "Element not recognised");
  ComMsgMgr::sendMsg::eval(1, __FILE__, __LINE__, "ipbuild", schemaMask, "@19-538@%s\n",
                           "spirit:component");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ipbuild[2]: @19-537@Element not recognised\n"
            "ipbuild[1]: @19-538@spirit:component\n");
  EXPECT_TRUE(received_.empty());
}

class Parameters : public testing::Test {
protected:
  void TearDown() override { params_->unsetValue(name_); }

  HPAParamMgr* params_ = HPAParamMgr::getParamMgr();
  const std::string name_ = "ib.debugIPXactSchema";
};

TEST_F(Parameters, UnsetParameterIsFalseAndAbsent) {
  std::string text = "untouched";
  EXPECT_FALSE(params_->getValueAsBool(name_));
  EXPECT_FALSE(params_->getValue(name_, &text));
  EXPECT_EQ(text, "untouched");
}

TEST_F(Parameters, AcceptedTrueSpellings) {
  for (const char* spelling : {"true", "TRUE", "True", "1", "yes", "YES", "on", "On", "  true\t"}) {
    params_->setValue(name_, spelling);
    EXPECT_TRUE(params_->getValueAsBool(name_)) << '"' << spelling << '"';
  }
}

TEST_F(Parameters, OtherTextsAreFalse) {
  for (const char* spelling : {"", "false", "0", "no", "off", "2", "truely", "t rue", "y"}) {
    params_->setValue(name_, spelling);
    EXPECT_FALSE(params_->getValueAsBool(name_)) << '"' << spelling << '"';
  }
}

TEST_F(Parameters, EveryReadSeesTheCurrentValue) {
  params_->setValue(name_, "true");
  EXPECT_TRUE(HPAParamMgr::getParamMgr()->getValueAsBool(name_));
  params_->setValue(name_, "false");
  EXPECT_FALSE(HPAParamMgr::getParamMgr()->getValueAsBool(name_));
  params_->setValue(name_, " On ");
  std::string text;
  ASSERT_TRUE(params_->getValue(name_, &text));
  EXPECT_EQ(text, " On ");
  params_->unsetValue(name_);
  EXPECT_FALSE(params_->getValueAsBool(name_));
  EXPECT_FALSE(params_->getValue(name_, nullptr));
}

TEST(TextConversion, RoundTripKeepsUtf8BytesUnchanged) {
  const std::string name = "Gr\xC3\xB6\xC3\x9F" "e_\xE6\x97\xB6\xE9\x92\x9F \xF0\x9F\x94\x8C";
  EXPECT_EQ(HI18N::convertToUTF8(name), name);
  EXPECT_EQ(HI18N::convertFromUTF8(name), name);
}

TEST(Exceptions, AlgExceptionIsCaughtAsEveryBaseWithItsText) {
  const std::string text = "HIPGSBase::marshal: Unimplemented virtual, cannot write spirit:component";
  try {
    throw HEXAlgException(text);
  } catch (const HEXError& error) {
    EXPECT_EQ(std::string(error.what()), text);
  }
  try {
    throw HEXAlgException(text.c_str());
  } catch (const std::exception& error) {
    EXPECT_EQ(std::string(error.what()), text);
  }
}

TEST(Exceptions, CopyKeepsItsTextWhenTheOriginalChanges) {
  HEXError original("bad state");
  const HEXAll copy = original;
  original = HEXError("replaced");
  EXPECT_STREQ(copy.what(), "bad state");
}

} // namespace
