// Reading documents into objects: where a document is refused and with which code, what a
// continuing error handler leaves behind, and which spellings of the same document read alike.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSpirit.h>

using namespace HIPGSpirit;

namespace {

const std::string kSpirit = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const std::string kVorlix = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// An abstraction definition of the APB bus, one element per line; `tail` follows the bus type,
// from line 8 on.
std::string apb_definition(const std::string& tail)
{
    return kDeclaration + "<spirit:abstractionDefinition xmlns:spirit=\"" + kSpirit + "\">\n" +
           "  <spirit:vendor>vorlix.com</spirit:vendor>\n"
           "  <spirit:library>busdefs</spirit:library>\n"
           "  <spirit:name>apb_rtl</spirit:name>\n"
           "  <spirit:version>1.0</spirit:version>\n"
           "  <spirit:busType spirit:vendor=\"vorlix.com\" spirit:library=\"busdefs\" spirit:name=\"apb\""
           " spirit:version=\"1.0\"/>\n" +
           tail + "</spirit:abstractionDefinition>\n";
}

// A bus definition whose identifier takes lines 3 and 4; `body` follows from line 5.
std::string bus_definition(const std::string& body)
{
    return kDeclaration + "<spirit:busDefinition xmlns:spirit=\"" + kSpirit + "\">\n" +
           "<spirit:vendor>v</spirit:vendor><spirit:library>l</spirit:library>\n"
           "<spirit:name>apb</spirit:name><spirit:version>1.0</spirit:version>\n" +
           body + "</spirit:busDefinition>\n";
}

const std::string kPorts = "  <spirit:ports>\n"
                           "    <spirit:port>\n"
                           "      <spirit:logicalName>PCLK</spirit:logicalName>\n"
                           "      <spirit:wire/>\n"
                           "    </spirit:port>\n"
                           "  </spirit:ports>\n";

struct fault {
    lmx60::elmx_error code;
    std::string item;
    int line;
};

// Reads through a reader whose handler records every fault and asks to carry on.
template <class T>
lmx60::elmx_error read_continuing(const std::string& xml, T* object, std::vector<fault>* faults)
{
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_error_handler([faults](lmx60::elmx_error code, const std::string& item, int line) {
        faults->push_back({code, item, line});
        return lmx60::ELMX_OK;
    });
    return object->unmarshal(reader);
}

template <class T>
lmx60::elmx_error read(const std::string& xml, T* object, lmx60::s_debug_error* debug = nullptr)
{
    return object->unmarshal(xml.data(), xml.size(), debug);
}

TEST(DocumentElement, InAnotherNamespaceIsTheWrongElement)
{
    const std::string xml = kDeclaration +
                            "<spirit:presence xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/"
                            "SPIRIT/1.5\">required</spirit:presence>\n";
    HIPGSPresence presence;
    EXPECT_EQ(read(xml, &presence), lmx60::ELMX_WRONG_ELEMENT);
    HIPGSBusDefinition bus;
    EXPECT_EQ(read(apb_definition(kPorts), &bus), lmx60::ELMX_WRONG_ELEMENT);
}

TEST(RequiredChildren, MissingOneFailsWith21UnlessTheHandlerCarriesOn)
{
    const std::string xml = apb_definition("  <spirit:description>no ports</spirit:description>\n");
    HIPGSAbstractionDefinition stopped;
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(xml, &stopped, &debug), lmx60::ELMX_REQUIRED_ELEMENT_MISSING);
    EXPECT_EQ(debug.item_name, "spirit:ports");
    EXPECT_EQ(debug.document_line, 8);

    HIPGSAbstractionDefinition definition;
    std::vector<fault> faults;
    EXPECT_EQ(read_continuing(xml, &definition, &faults), lmx60::ELMX_OK);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].code, lmx60::ELMX_REQUIRED_ELEMENT_MISSING);
    EXPECT_FALSE(definition.isSetPorts());
    EXPECT_EQ(definition.getDescription(), "no ports");
    EXPECT_FALSE(definition.isOccursOk());
}

TEST(UnexpectedElements, AContinuingReadResumesAfterOneAndCountsNothingReadBeforeItAsMissing)
{
    const std::string xml = bus_definition("<spirit:stray/>\n"
                                           "<spirit:directConnection>true</spirit:directConnection>\n"
                                           "<spirit:isAddressable>true</spirit:isAddressable>\n");
    HIPGSBusDefinition bus;
    std::vector<fault> faults;
    EXPECT_EQ(read_continuing(xml, &bus, &faults), lmx60::ELMX_OK);
    // What the stray element stands in the place of is missing where it stands (then found after it);
    // nothing before it is reported, and nothing twice.
    std::vector<std::string> seen;
    for (const fault& f : faults)
        seen.push_back(std::to_string(f.code) + " " + f.item + " " + std::to_string(f.line));
    EXPECT_EQ(seen, (std::vector<std::string>{"21 spirit:directConnection 5", "21 spirit:isAddressable 5",
                                              "8 spirit:stray 5"}));
    EXPECT_EQ(bus.getVersionedIdentifier().getVersion(), "1.0");
    EXPECT_TRUE(bus.getDirectConnection() && bus.getIsAddressable()) << "what follows the stray element is read";
}

TEST(RequiredAttributes, MissingOneFailsWith25NamingTheType)
{
    std::string xml = apb_definition(kPorts);
    xml.replace(xml.find(" spirit:version=\"1.0\"/>"), 23, "/>");
    HIPGSAbstractionDefinition definition;
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(xml, &definition, &debug), lmx60::ELMX_REQUIRED_ATTRIBUTE_MISSING);
    EXPECT_EQ(debug.item_name, "libraryRefType");
    EXPECT_EQ(debug.document_line, 7);
}

TEST(Lists, PresentWithoutItemsFailsWith20)
{
    for (const char* groups : {"", "  "}) {
        const std::string xml = kDeclaration + "<spirit:defaultValue xmlns:spirit=\"" + kSpirit +
                                "\" spirit:configGroups=\"" + groups + "\">5</spirit:defaultValue>\n";
        HIPGSDefaultValue value;
        lmx60::s_debug_error debug;
        EXPECT_EQ(read(xml, &value, &debug), lmx60::ELMX_EMPTY_LIST) << "configGroups=\"" << groups << "\"";
        EXPECT_EQ(debug.item_name, "spirit:configGroups");
    }
}

TEST(ChildOrder, AnElementBackInTheSequenceFailsWhereItStands)
{
    const std::string xml = apb_definition(kPorts + "  <spirit:extends spirit:vendor=\"vorlix.com\" "
                                                    "spirit:library=\"busdefs\" spirit:name=\"apb_base\" "
                                                    "spirit:version=\"1.0\"/>\n");
    HIPGSAbstractionDefinition definition;
    lmx60::s_debug_error debug;
    EXPECT_NE(read(xml, &definition, &debug), lmx60::ELMX_OK);
    EXPECT_EQ(debug.item_name, "spirit:extends");
    EXPECT_EQ(debug.document_line, 14);
    EXPECT_FALSE(definition.isSetExtends());
}

TEST(Namespaces, AnyPrefixReadsLikeSpirit)
{
    const std::string canonical = apb_definition(kPorts);
    HIPGSAbstractionDefinition expected;
    ASSERT_EQ(read(canonical, &expected), lmx60::ELMX_OK);

    std::string renamed = canonical;
    renamed.replace(renamed.find("xmlns:spirit"), 12, "xmlns:ipx");
    for (size_t at = renamed.find("spirit:"); at != std::string::npos; at = renamed.find("spirit:", at))
        renamed.replace(at, 7, "ipx:");
    HIPGSAbstractionDefinition withIpx;
    ASSERT_EQ(read(renamed, &withIpx), lmx60::ELMX_OK);
    EXPECT_TRUE(withIpx == expected);

    // Elements in the default namespace; attributes need a prefix of their own.
    std::string unprefixed = canonical;
    for (size_t at = unprefixed.find("spirit:"); at != std::string::npos; at = unprefixed.find("spirit:", at)) {
        bool attribute = unprefixed[at - 1] == ' ';
        unprefixed.replace(at, 7, attribute ? "a:" : "");
    }
    unprefixed.replace(unprefixed.find("xmlns:spirit"), 12, "xmlns:a=\"" + kSpirit + "\" xmlns");
    HIPGSAbstractionDefinition withDefault;
    ASSERT_EQ(read(unprefixed, &withDefault), lmx60::ELMX_OK) << unprefixed;
    EXPECT_TRUE(withDefault == expected);
}

TEST(Text, OutsideAsciiSurvivesReadingAndWriting)
{
    const std::string description = "Gr\xC3\xB6\xC3\x9F" "e \xE2\x80\x93 \xE9\x9B\xBB\xE5\x9C\xA7 \xF0\x9F\x98\x80";
    const std::string xml = apb_definition(kPorts + "  <spirit:description>" + description +
                                           "</spirit:description>\n");
    HIPGSAbstractionDefinition definition;
    ASSERT_EQ(read(xml, &definition), lmx60::ELMX_OK);
    EXPECT_EQ(definition.getDescription(), description);
    std::string written;
    ASSERT_EQ(definition.marshal(&written), lmx60::ELMX_OK);
    EXPECT_NE(written.find("<spirit:description>" + description + "</spirit:description>"), std::string::npos);
    HIPGSAbstractionDefinition reread;
    ASSERT_EQ(read(written, &reread), lmx60::ELMX_OK);
    EXPECT_TRUE(reread == definition);
}

TEST(Values, FailingTheirPatternAreRefusedWith22)
{
    HIPGSDefaultValue value;
    const std::string good = kDeclaration + "<spirit:defaultValue xmlns:spirit=\"" + kSpirit +
                             "\">0x1F</spirit:defaultValue>\n";
    ASSERT_EQ(read(good, &value), lmx60::ELMX_OK);
    EXPECT_EQ(value.getDefaultValue(), "0x1F");
    const std::string bad = kDeclaration + "<spirit:defaultValue xmlns:spirit=\"" + kSpirit +
                            "\">12zz</spirit:defaultValue>\n";
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(bad, &value, &debug), lmx60::ELMX_PATTERN_FACET);
    EXPECT_EQ(debug.document_line, 2);
}

TEST(Values, NotOfTheirTypeAreRefusedWith11)
{
    const std::string xml = kDeclaration + "<spirit:volatile xmlns:spirit=\"" + kSpirit +
                            "\">maybe</spirit:volatile>\n";
    HIPGSVolatile flag;
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(xml, &flag, &debug), lmx60::ELMX_BAD_VALUE);
    EXPECT_EQ(debug.item_name, "spirit:volatile");
}

TEST(Values, EnumeratedStandardElementsKeepUnlistedText)
{
    const std::string xml = kDeclaration + "<spirit:presence xmlns:spirit=\"" + kSpirit +
                            "\">sometimes</spirit:presence>\n";
    HIPGSPresence presence;
    ASSERT_EQ(read(xml, &presence), lmx60::ELMX_OK);
    EXPECT_EQ(presence.getPresence(), "sometimes");
    EXPECT_EQ(presence.getEnumPresence(), HIPGSPresence::e_enum_Presence::e_unlisted);
    std::string written;
    ASSERT_EQ(presence.marshal(&written), lmx60::ELMX_OK);
    EXPECT_EQ(written, kDeclaration + "<spirit:presence xmlns:vorlix=\"" + kVorlix + "\" xmlns:spirit=\"" + kSpirit +
                           "\">sometimes</spirit:presence>\n");
}

TEST(Values, EnumeratedVendorElementsRefuseUnlistedText)
{
    const std::string xml = kDeclaration +
                            "<vorlix:abstractionDefinitionPortInfo xmlns:vorlix=\"" + kVorlix +
                            "\">\n  <vorlix:tristate_role>inout</vorlix:tristate_role>\n"
                            "</vorlix:abstractionDefinitionPortInfo>\n";
    HIPGSAbstractionDefinitionPortInfo info;
    EXPECT_EQ(read(xml, &info), lmx60::ELMX_ENUMERATION_FACET);
    HIPGSAbstractionDefinitionPortInfo continued;
    std::vector<fault> faults;
    EXPECT_EQ(read_continuing(xml, &continued, &faults), lmx60::ELMX_OK);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].code, lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(continued.getTristateRole(), "inout");
}

TEST(Values, RefusedUnderAContinuingHandlerAreNotStored)
{
    const std::string xml = bus_definition(
        "<spirit:directConnection>true</spirit:directConnection>\n"
        "<spirit:isAddressable>false</spirit:isAddressable>\n"
        "<spirit:maxMasters>many</spirit:maxMasters><spirit:maxSlaves>16</spirit:maxSlaves>\n");
    HIPGSBusDefinition bus;
    std::vector<fault> faults;
    EXPECT_EQ(read_continuing(xml, &bus, &faults), lmx60::ELMX_OK);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].code, lmx60::ELMX_BAD_VALUE);
    EXPECT_EQ(faults[0].item, "spirit:maxMasters");
    EXPECT_EQ(faults[0].line, 7);
    EXPECT_FALSE(bus.isSetMaxMasters());
    EXPECT_TRUE(bus.getMaxSlaves() == 16);
}

}  // namespace

// A list type the schema derives itself may be empty and counts its length in items:
// spirit:configurableDouble is a list of doubles with zero or one item.
TEST(Lists, LengthsCountItemsAndAnEmptyListReadsWhereTheTypeAllowsIt)
{
    const auto clock_driver = [](const std::string& period) {
        return kDeclaration + "<spirit:clockDriver xmlns:spirit=\"" + kSpirit + "\"><spirit:clockPeriod>" + period +
               "</spirit:clockPeriod><spirit:clockPulseOffset>1</spirit:clockPulseOffset>"
               "<spirit:clockPulseValue>1</spirit:clockPulseValue><spirit:clockPulseDuration>2.5"
               "</spirit:clockPulseDuration></spirit:clockDriver>\n";
    };
    for (const char* period : {"", "  ", "10.5", " 1e3 "}) {
        HIPGSTop top;
        lmx60::s_debug_error debug;
        EXPECT_EQ(read(clock_driver(period), &top, &debug), lmx60::ELMX_OK) << '"' << period << "\": " << debug.to_string();
        std::string written;
        EXPECT_EQ(top.marshal(&written, &debug), lmx60::ELMX_OK) << debug.to_string();
    }
    HIPGSTop top;
    lmx60::s_debug_error debug;
    EXPECT_EQ(read(clock_driver("1 2"), &top, &debug), lmx60::ELMX_VALUE_FACET);
    EXPECT_EQ(debug.item_name, "spirit:clockPeriod");
}

// The values of timing and load constraints fail their bounds with a code of their own.
TEST(ConstraintValues, OutOfBoundsGive37WhereOtherValuesGive36)
{
    lmx60::s_debug_error debug;
    HIPGSTop timing;
    EXPECT_EQ(read(kDeclaration + "<spirit:timingConstraint xmlns:spirit=\"" + kSpirit +
                       "\" spirit:clockName=\"clk\">100.5</spirit:timingConstraint>\n",
                   &timing, &debug),
              lmx60::ELMX_CONSTRAINT_VALUE);
    HIPGSLoadConstraint load;
    EXPECT_EQ(read(kDeclaration + "<spirit:loadConstraint xmlns:spirit=\"" + kSpirit +
                       "\"><spirit:cellSpecification><spirit:cellFunction>nand2</spirit:cellFunction>"
                       "</spirit:cellSpecification><spirit:count>0</spirit:count></spirit:loadConstraint>\n",
                   &load, &debug),
              lmx60::ELMX_CONSTRAINT_VALUE);
    HIPGSTop bits;
    EXPECT_EQ(read(kDeclaration + "<spirit:addressUnitBits xmlns:spirit=\"" + kSpirit +
                       "\">0</spirit:addressUnitBits>\n",
                   &bits, &debug),
              lmx60::ELMX_VALUE_FACET);
}
