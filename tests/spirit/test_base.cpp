// Diagnostics of the bound-object base: what reaches the host's message manager, when, and in which
// words; the guards of operations a type does not implement; the namespace constants.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <ipxact/common/ComMsgMgr.h>
#include <ipxact/common/HEXAll.h>
#include <ipxact/common/HPAParamMgr.h>
#include <ipxact/spirit/HIPGSNamespaces.h>
#include <ipxact/spirit/HIPGSpirit.h>

using namespace HIPGSpirit;

namespace {

const char* const kDebugParameter = "ib.debugIPXactSchema";
const std::string kReport = "@19-395@validating against XML schema";

// A type of the tests' own: it writes its element and one child, and fails inside the child with
// `failure` on `item` when asked to, so that a failure report has a known document and line.
class ProbeElement : public HIPGSBase {
public:
    using HIPGSBase::marshal;
    using HIPGSBase::unmarshal;
    ProbeElement(lmx60::elmx_error code = lmx60::ELMX_OK, const std::string& name = "") : failure(code), item(name) {}

    HIPGSBase* cloneObj() const override { return new ProbeElement(*this); }
    HIPGSBase* newObj() const override { return new ProbeElement; }
    const char* getElementId() const override { return "probe"; }
    lmx60::elmx_error unmarshal(lmx60::c_xml_reader&, const std::string&) override { return failure; }
    lmx60::elmx_error marshal(lmx60::c_xml_writer& writer, const char* name) const override
    {
        writer.start_element(name);
        writer.start_element("child");
        writer.capture_error(failure, item, __FILE__, __LINE__);
        writer.end_element("child");
        writer.end_element(name);
        return lmx60::ELMX_OK;
    }
    // The base's body of the pure writer slot, which a type that cannot be written falls back on.
    lmx60::elmx_error marshalThroughBase(lmx60::c_xml_writer& writer, const char* name) const
    {
        return HIPGSBase::marshal(writer, name);
    }

    lmx60::elmx_error failure;
    std::string item;
};

class Diagnostics : public ::testing::Test {
protected:
    void SetUp() override
    {
        previousHandler_ = ComMsgMgr::setHandler([this](const ComMsgMgr::Message& m) { messages.push_back(m); });
        previousSilent_ = HIPGSBase::set_silent_lmx_errors(false);
        debugging(true);
    }
    void TearDown() override
    {
        ComMsgMgr::setHandler(previousHandler_);
        HIPGSBase::set_silent_lmx_errors(previousSilent_);
        HPAParamMgr::getParamMgr()->unsetValue(kDebugParameter);
    }
    static void debugging(bool on) { HPAParamMgr::getParamMgr()->setValue(kDebugParameter, on ? "true" : "false"); }
    static std::string description(lmx60::elmx_error code) { return lmx60::get_error_description(code); }
    void expect_one(int severity, const std::string& format, const std::string& text)
    {
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].severity, severity);
        EXPECT_EQ(messages[0].domain, "ipbuild");
        EXPECT_EQ(messages[0].mask, 0x8000000u);
        EXPECT_EQ(messages[0].format, format);
        EXPECT_EQ(messages[0].text, text);
        EXPECT_STREQ(messages[0].file, "ComMsgMgr.h");
        EXPECT_EQ(messages[0].line, 374);
        messages.clear();
    }
    std::string dump_failure(const ProbeElement& probe)
    {
        std::stringstream document;
        EXPECT_FALSE(probe.dumpXml(document));
        return messages.empty() ? std::string() : messages.back().text;
    }

    std::vector<ComMsgMgr::Message> messages;

private:
    ComMsgMgr::Handler previousHandler_;
    bool previousSilent_ = false;
};

TEST_F(Diagnostics, CodesAreSentWithTheirDescription)
{
    EXPECT_EQ(HIPGSBase::lmx_error(38, "tristate_role", "file.cpp", 12), 38);
    expect_one(2, "@19-536@%s%s", "@19-536@tristate_role" + description(38));
    EXPECT_EQ(HIPGSBase::lmx_error(22), 22);
    expect_one(1, "@19-537@%s", "@19-537@" + description(22));
    EXPECT_EQ(HIPGSBase::lmx_error(0), 0);
    EXPECT_EQ(HIPGSBase::lmx_error(0, "item", "file.cpp", 1), 0);
    EXPECT_TRUE(messages.empty());
}

// Every generated setter hands its value and its type's restriction row to check_set_value.
TEST_F(Diagnostics, SetterChecksSendTheFirstFaultNamingTheItem)
{
    const char* const sizes[] = {"1", "2", "40", nullptr};
    const lmx60::c_restriction row = {nullptr, sizes, {"2", nullptr, nullptr, nullptr, -1, -1},
                                      lmx60::ELMX_CONSTRAINT_VALUE};
    EXPECT_EQ(check_set_value(row, "40", "size"), lmx60::ELMX_OK);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(check_set_value(row, "3", "size"), lmx60::ELMX_ENUMERATION_FACET);
    expect_one(2, "@19-536@%s%s", "@19-536@size" + description(lmx60::ELMX_ENUMERATION_FACET));
    EXPECT_EQ(check_set_value(row, "1", "size"), lmx60::ELMX_CONSTRAINT_VALUE);
    expect_one(2, "@19-536@%s%s", "@19-536@size" + description(lmx60::ELMX_CONSTRAINT_VALUE));
    HIPGSAbstractionDefinitionPortInfo info;
    EXPECT_EQ(info.setTristateRole("inout"), lmx60::ELMX_ENUMERATION_FACET);
    expect_one(2, "@19-536@%s%s", "@19-536@tristate_role" + description(lmx60::ELMX_ENUMERATION_FACET));
}

TEST_F(Diagnostics, OccurrenceAssertionNamesTheElement)
{
    HIPGSAbstractionDefinition definition;
    definition.validationAssertion(true, true);
    EXPECT_TRUE(messages.empty());
    definition.validationAssertion(false, true);
    expect_one(1, "@19-539@%s", "@19-539@spirit:abstractionDefinition");
    definition.validationAssertion(false, false);
    expect_one(1, "@19-538@%s", "@19-538@spirit:abstractionDefinition");
}

TEST_F(Diagnostics, DebugParameterIsReadAtEveryReport)
{
    debugging(false);
    HIPGSBase::lmx_error(22);
    HIPGSAbstractionDefinition().validationAssertion(false, true);
    HPAParamMgr::getParamMgr()->unsetValue(kDebugParameter);
    HIPGSBase::lmx_error(22, "item", "file.cpp", 1);
    EXPECT_TRUE(messages.empty());
    debugging(true);
    HIPGSBase::lmx_error(22);
    EXPECT_EQ(messages.size(), 1u);
}

TEST_F(Diagnostics, SilentSwitchSilencesEverythingAndReturnsThePreviousValue)
{
    EXPECT_FALSE(HIPGSBase::set_silent_lmx_errors(true));
    EXPECT_TRUE(HIPGSBase::set_silent_lmx_errors(true));
    EXPECT_TRUE(HIPGSBase::get_silent_lmx_errors());
    HIPGSBase::lmx_error(22);
    HIPGSBase::lmx_error(38, "item", "file.cpp", 1);
    HIPGSAbstractionDefinition().validationAssertion(false, true);
    dump_failure(ProbeElement(26));
    EXPECT_FALSE(HIPGSAbstractionDefinition().readXml(std::stringstream("<broken")));
    EXPECT_TRUE(messages.empty());
}

// The failure report of dumpXml: the document as far as it was written, numbered, then the trimmed
// item and the line before the one the writer stood on.
TEST_F(Diagnostics, WriteFailureListsTheDocumentAndNamesItemAndLine)
{
    EXPECT_EQ(dump_failure(ProbeElement(26, " abstractorInterface ")),
              kReport + "\n     1. <?xml version=\"1.0\" encoding=\"UTF-8\"?>\n     2. <probe>\n     3.   <child\n"
                        "WARNING: see 'abstractorInterface' near line 2: " + description(26));
    EXPECT_EQ(messages.back().severity, 2);
    EXPECT_EQ(messages.back().format, "@19-395@%s%s");
}

TEST_F(Diagnostics, WriteFailureWithoutDebuggingKeepsItemAndDescription)
{
    debugging(false);
    EXPECT_EQ(dump_failure(ProbeElement(21, "spirit:ports")),
              kReport + "see 'spirit:ports' : " + description(21) + " or unexpected element found");
    EXPECT_EQ(dump_failure(ProbeElement(7, " \t ")), kReport + ": " + description(7));
}

TEST_F(Diagnostics, ReadFailureListsTheDocumentWithoutItemOrLine)
{
    const std::string open =
        "<vorlix:abstractionDefinitionPortInfo xmlns:vorlix=\"" + std::string(kVorlixNamespaceUri) + "\">";
    std::stringstream document(open + "\n  <vorlix:tristate_role>inout</vorlix:tristate_role>\n"
                                      "</vorlix:abstractionDefinitionPortInfo>");
    EXPECT_FALSE(HIPGSAbstractionDefinitionPortInfo().readXml(document));
    expect_one(2, "@19-395@%s%s",
               kReport + "\n     1. " + open + "\n     2.   <vorlix:tristate_role>inout</vorlix:tristate_role>\n"
                         "     3. </vorlix:abstractionDefinitionPortInfo>\nWARNING: : " + description(38));
}

TEST_F(Diagnostics, MissingElementReportSuggestsAnUnexpectedOne)
{
    debugging(false);
    std::stringstream document("<spirit:abstractionDefinition xmlns:spirit=\"" + std::string(kSpiritNamespaceUri) +
                               "\"><spirit:vendor>v</spirit:vendor><spirit:library>l</spirit:library>"
                               "<spirit:name>n</spirit:name><spirit:version>1</spirit:version>"
                               "<spirit:ports/></spirit:abstractionDefinition>");
    EXPECT_FALSE(HIPGSAbstractionDefinition().readXml(document));
    expect_one(2, "@19-395@%s%s", kReport + ": " + description(21) + " or unexpected element found");
}

TEST_F(Diagnostics, DumpOfAnIncompleteDocumentFailsWithoutThrowing)
{
    HIPGSAbstractionDefinition definition;
    definition.getVersionedIdentifier().setName("n");
    std::stringstream document;
    bool written = true;
    EXPECT_NO_THROW(written = definition.dumpXml(document));
    EXPECT_FALSE(written);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().format, "@19-395@%s%s");
}

TEST(StreamWriter, LeavesTheCallersRecordAlone)
{
    lmx60::s_debug_error record;
    std::ostringstream os;
    EXPECT_EQ(ProbeElement(26, "abstractorInterface").marshal(os, &record), 26);
    EXPECT_EQ(record.error, lmx60::ELMX_OK);
    EXPECT_TRUE(record.item_name.empty());
}

// The text of the HEXAlgException that `operation` throws, or "" when it throws none.
template <class Operation>
std::string refusal(Operation operation)
{
    try {
        operation();
    } catch (const HEXAlgException& e) {
        return e.what();
    }
    return "";
}

TEST(UnimplementedOperations, ThrowWithTheElementAndTheTarget)
{
    ProbeElement probe;
    const HIPGSBase& base = probe;
    EXPECT_EQ(refusal([&] { base.marshal("out.xml", nullptr); }),
              "HIPGSBase::marshal: Unimplemented virtual, cannot write probe to file out.xml");
    EXPECT_EQ(refusal([&] { probe.unmarshal("in.xml", nullptr); }),
              "HIPGSBase::unmarshal: Unimplemented virtual, cannot read probe from file in.xml");
    std::ostringstream os;
    lmx60::c_xml_writer writer(os);
    const std::string toWriter = "HIPGSBase::marshal: Unimplemented virtual, cannot write to writer ";
    EXPECT_EQ(refusal([&] { probe.marshalThroughBase(writer, "spirit:port"); }), toWriter + "spirit:port");
    EXPECT_EQ(refusal([&] { probe.marshalThroughBase(writer, ""); }), toWriter + "probe");
    EXPECT_EQ(refusal([&] { probe.marshalThroughBase(writer, nullptr); }), toWriter + "probe");
    HIPGSAbstractionDefinitionPorts ports;
    EXPECT_EQ(refusal([&] { static_cast<HIPGSBase&>(ports).unmarshal("ports.xml", nullptr); }),
              "HIPGSBase::unmarshal: Unimplemented virtual, cannot read spirit:ports from file ports.xml");
}

TEST(NamespaceConstants, AreTheReaderMapsInASeparateTable)
{
    const lmx60::s_ns_map* map = HIPGSBase::getNamespaceMap();
    EXPECT_NE(map, ns_map_reader);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(map[i].id, ns_map_reader[i].id);
        EXPECT_STREQ(map[i].uri, ns_map_reader[i].uri);
    }
    EXPECT_EQ(HIPGSBase::getNamespaceIdVorlix(), 1000);
    EXPECT_STREQ(HIPGSBase::getNamespacePrefixSpirit(), "spirit");
    EXPECT_STREQ(HIPGSBase::getNamespaceSpirit(), "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009");
    EXPECT_EQ(map[2].prefix, nullptr);
}

}  // namespace
