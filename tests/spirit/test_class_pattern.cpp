// The shape every generated class shares: children made on demand and handed over, deep copies,
// reset, schema defaults, enumerations, choices, big integers and element names.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>

#include <ipxact/spirit/HIPGSpirit.h>

using namespace HIPGSpirit;

namespace {

using VectorLeft = HIPGSAbstractorBusInterfaceTypePortMapsPortMapLogicalPortVectorLeft;
using PortChoice = HIPGSAbstractionDefinitionPortsPortAnonWire;

HIPGSAbstractionDefinition populated_definition()
{
    HIPGSAbstractionDefinition definition;
    HIPGSVersionedIdentifier& vlnv = definition.getVersionedIdentifier();
    vlnv.setVendor("vorlix.com");
    vlnv.setLibrary("busdefs");
    vlnv.setName("apb_rtl");
    vlnv.setVersion("1.0");
    definition.getBusType().setNameAttr("apb");
    definition.getPorts().appendPort().setLogicalName("PCLK");
    definition.setDescription("clocked bus");
    return definition;
}

TEST(ComplexChildren, AreCreatedByTheMutableGetterOnly)
{
    HIPGSAbstractionDefinition definition;
    const HIPGSAbstractionDefinition& view = definition;
    EXPECT_THROW(view.getBusType(), lmx60::lmx_exception);
    EXPECT_FALSE(definition.isSetBusType());
    definition.getBusType().setNameAttr("apb");
    EXPECT_TRUE(definition.isSetBusType());
    HIPGSLibraryRefType2 reference;
    reference.setNameAttr("ahb");
    definition.assignBusType(reference);
    reference.setNameAttr("axi");
    EXPECT_NE(&view.getBusType(), &reference);
    EXPECT_EQ(view.getBusType().getNameAttr(), "ahb");
}

TEST(ComplexChildren, AssignPointerHandsOwnershipOverAndNullHandsItBack)
{
    auto* extends = new HIPGSLibraryRefType2;
    extends->setNameAttr("apb_base");
    HIPGSLibraryRefType2* detached = nullptr;
    {
        HIPGSAbstractionDefinition definition;
        EXPECT_EQ(definition.assignExtends(extends), extends);
        EXPECT_EQ(&definition.getExtends(), extends);
        detached = definition.assignExtends(nullptr);
        EXPECT_FALSE(definition.isSetExtends());
    }
    ASSERT_EQ(detached, extends);
    EXPECT_EQ(detached->getNameAttr(), "apb_base");
    delete detached;
}

TEST(Copies, AreDeepAndLeaveAbsentChildrenAbsent)
{
    HIPGSAbstractionDefinition original = populated_definition();
    HIPGSAbstractionDefinition copy(original);
    EXPECT_TRUE(copy == original);
    EXPECT_FALSE(copy.isSetExtends());
    EXPECT_FALSE(copy.isSetVendorExtensions());
    copy.getPorts().getPort(0).setLogicalName("PRESETn");
    EXPECT_EQ(original.getPorts().getPort(0).getLogicalName(), "PCLK");
    EXPECT_FALSE(copy == original);
    copy = original;
    EXPECT_TRUE(copy == original);
    std::unique_ptr<HIPGSBase> clone(original.cloneObj());
    const HIPGSBase& cloned = *clone;
    ASSERT_EQ(typeid(cloned), typeid(HIPGSAbstractionDefinition));
    EXPECT_TRUE(static_cast<const HIPGSAbstractionDefinition&>(cloned) == original);
}

// A child of a type derived from the declared one stays of that type in a copy, and only a child
// of the same type compares equal.
TEST(Copies, KeepTheTypeOfADerivedChild)
{
    HIPGSHierConnection connection;
    connection.setInterfaceRefAttr("apb_slave");
    auto* derived = new HIPGSHierInterface;
    derived->setComponentRefAttr("u_timer");
    derived->setBusRefAttr("apb");
    derived->setPathAttr("top/u_sub");
    connection.assignInterface(derived);
    HIPGSHierConnection copy(connection);
    const auto* copied = dynamic_cast<const HIPGSHierInterface*>(&copy.getInterface());
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(copied->getPathAttr(), "top/u_sub");
    HIPGSHierConnection plain;
    plain.setInterfaceRefAttr("apb_slave");
    plain.getInterface().setComponentRefAttr("u_timer");
    plain.getInterface().setBusRefAttr("apb");
    EXPECT_FALSE(plain == connection);
}

// A configurable value keeps its dozen optional attributes in one block made when the first is set;
// to a user they are ordinary members: read, copied, compared and written like any other.
TEST(Copies, KeepOptionalAttributesOfTheirOwn)
{
    HIPGSComponent component;
    HIPGSVersionedIdentifier& id = component.getVersionedIdentifier();
    id.setVendor("example.com");
    id.setLibrary("ip");
    id.setName("timer");
    id.setVersion("1.0");
    HIPGSMemoryMapType& map = component.getMemoryMaps().appendMemoryMap();
    map.getNameGroup().setName("regs");
    HIPGSAddressBlockType& block = map.appendMemoryMap().getAddressBlock();
    block.getNameGroup().setName("block");
    block.getAddressSpecifier().getBaseAddress().setBaseAddress("0x0");
    HIPGSAddressBlockDefinitionGroup& definition = block.getAddressBlockDefinitionGroup();
    definition.getBlockSize().getRange().setRange("16");
    definition.getBlockSize().getWidth().setWidth(32);
    HIPGSRegister& control = definition.getRegisterData().appendRegister();
    control.getNameGroup().setName("CTRL");
    control.setAddressOffset("0x0");
    HIPGSSize& size = control.getRegisterDefinitionGroup().getSize();
    size.setSize(32);
    EXPECT_EQ(size.setResolveAttr("user"), lmx60::ELMX_OK);
    EXPECT_EQ(size.setIdAttr("ctrl_size"), lmx60::ELMX_OK);

    HIPGSSize copy(size);
    copy.setIdAttr("other");
    EXPECT_EQ(size.getIdAttr(), "ctrl_size");
    EXPECT_EQ(copy.getFormatAttr(), "long");  // the schema default, still unset
    EXPECT_FALSE(copy.isSetFormatAttr());
    EXPECT_FALSE(copy == size);
    copy.unsetIdAttr();
    copy.unsetResolveAttr();
    HIPGSSize plain;
    plain.setSize(32);
    EXPECT_TRUE(copy == plain);  // every optional attribute unset again: as if never set

    std::string text;
    ASSERT_EQ(component.marshal(&text), lmx60::ELMX_OK);
    EXPECT_NE(text.find("<spirit:size spirit:resolve=\"user\" spirit:id=\"ctrl_size\">32</spirit:size>"),
              std::string::npos)
        << text;
    lmx60::elmx_error error;
    HIPGSComponent read(text, &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    EXPECT_TRUE(read == component);
}

TEST(Reset, GivesBackTheDefaultObject)
{
    HIPGSAbstractionDefinition definition = populated_definition();
    definition.reset();
    EXPECT_TRUE(definition == HIPGSAbstractionDefinition());
    EXPECT_FALSE(definition.isSetBusType());
}

TEST(SchemaDefaults, AreVisibleWhileUnset)
{
    VectorLeft left;
    EXPECT_EQ(left.getFormatAttr(), "long");
    EXPECT_FALSE(left.isSetFormatAttr());
    EXPECT_EQ(left.getRangeTypeAttr(), "float");
    EXPECT_EQ(left.getEnumFormatAttr(), VectorLeft::e_enum_FormatAttr::e_unlisted);
    EXPECT_EQ(left.setFormatAttr("bitString"), lmx60::ELMX_OK);
    left.reset();
    EXPECT_EQ(left.getFormatAttr(), "long");
    EXPECT_FALSE(left.isSetFormatAttr());
    HIPGSWirePort wirePort;
    EXPECT_EQ(wirePort.getPresence(), "optional");
    EXPECT_FALSE(wirePort.isSetPresence());
}

TEST(Occurrence, PresentListWithoutItemsIsNotAnOccurrence)
{
    VectorLeft left;
    EXPECT_TRUE(left.isOccursOk());
    left.setPresentConfigGroupsAttr();
    EXPECT_FALSE(left.isOccursOk());
    left.appendConfigGroupsAttr("fast");
    EXPECT_TRUE(left.isOccursOk());
    EXPECT_FALSE(HIPGSAbstractionDefinition().isOccursOk());
    EXPECT_TRUE(populated_definition().isOccursOk());
}

TEST(Enumerations, MapTextToNumbersInSchemaOrder)
{
    using Role = HIPGSAbstractionDefinitionPortInfo::e_enum_TristateRole;
    HIPGSAbstractionDefinitionPortInfo info;
    EXPECT_EQ(info.getEnumTristateRole(), Role::e_unlisted);
    EXPECT_EQ(info.setTristateRole("out"), lmx60::ELMX_OK);
    EXPECT_EQ(static_cast<int>(info.getEnumTristateRole()), 2);
    EXPECT_TRUE(info.setEnumTristateRole(static_cast<Role>(3)));
    EXPECT_EQ(info.getTristateRole(), "tristate");
    EXPECT_TRUE(info.setEnumTristateRole(static_cast<Role>(1)));
    EXPECT_EQ(info.getTristateRole(), "in");
}

TEST(Enumerations, RejectedValuesLeaveValueAndFlag)
{
    using Role = HIPGSAbstractionDefinitionPortInfo::e_enum_TristateRole;
    HIPGSAbstractionDefinitionPortInfo info;
    EXPECT_EQ(info.setTristateRole("inout"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_FALSE(info.isSetTristateRole());
    ASSERT_EQ(info.setTristateRole("out"), lmx60::ELMX_OK);
    EXPECT_EQ(info.setTristateRole("Out"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_FALSE(info.setEnumTristateRole(Role::e_unlisted));
    EXPECT_FALSE(info.setEnumTristateRole(static_cast<Role>(4)));
    EXPECT_EQ(info.getTristateRole(), "out");
    EXPECT_TRUE(info.isSetTristateRole());
    HIPGSPresence presence;
    EXPECT_EQ(presence.setPresence("sometimes"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(presence.getPresence(), "optional");
}

// Classes whose members take the same values share one table of them; each still numbers and checks
// them in schema order, and an unlisted text stays unlisted in every one.
TEST(Enumerations, MembersOfOneValueListAgreeAcrossClasses)
{
    const char* const texts[] = {"read-only", "write-only", "read-write", "writeOnce", "read-writeOnce"};
    HIPGSAccess access;
    HIPGSFieldData field;
    HIPGSMemoryBlockData block;
    for (int number = 1; number <= 5; ++number) {
        ASSERT_TRUE(access.setEnumAccess(static_cast<HIPGSAccess::e_enum_Access>(number))) << number;
        EXPECT_EQ(access.getAccess(), texts[number - 1]);
        ASSERT_EQ(field.setAccess(texts[number - 1]), lmx60::ELMX_OK) << texts[number - 1];
        EXPECT_EQ(static_cast<int>(field.getEnumAccess()), number);
        ASSERT_TRUE(block.setEnumAccess(static_cast<HIPGSMemoryBlockData::e_enum_Access>(number))) << number;
        EXPECT_EQ(block.getAccess(), texts[number - 1]);
    }
    EXPECT_FALSE(access.setEnumAccess(static_cast<HIPGSAccess::e_enum_Access>(6)));
    EXPECT_EQ(field.setAccess("read-writeonce"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(block.setAccess("writeOnce "), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(access.getAccess(), "read-writeOnce");
}

TEST(Choices, SelectingKeepsOrReplacesTheAlternative)
{
    PortChoice choice;
    EXPECT_FALSE(choice.isOccursOk());
    choice.select_Wire();
    HIPGSWire* wire = &choice.getWire();
    choice.select_Wire();
    EXPECT_EQ(&choice.getWire(), wire);
    EXPECT_EQ(choice.getChoiceId(), 0);
    choice.select_Transactional();
    EXPECT_FALSE(choice.isSetWire());
    EXPECT_TRUE(choice.isSetTransactional());
    EXPECT_EQ(choice.getChoiceId(), 1);
    EXPECT_TRUE(choice.isOccursOk());
}

TEST(Choices, ReleaseOfAnEmptyChoiceIsHarmless)
{
    PortChoice choice;
    choice.release_choice();
    EXPECT_FALSE(choice.isOccursOk());
    choice.getTransactional();
    choice.release_choice();
    EXPECT_FALSE(choice.isSetTransactional());
    EXPECT_FALSE(choice.isOccursOk());
    EXPECT_TRUE(choice == PortChoice());
}

TEST(Choices, AssignNullHandsBackTheAlternativeAndKeepsTheSelection)
{
    PortChoice choice;
    HIPGSWire* wire = &choice.getWire();
    std::unique_ptr<HIPGSWire> detached(choice.assignWire(nullptr));
    EXPECT_EQ(detached.get(), wire);
    EXPECT_EQ(choice.getChoiceId(), 0);
    EXPECT_FALSE(choice.isSetWire());
    EXPECT_TRUE(choice.isOccursOk());
    auto* transactional = new HIPGSTransactional;
    EXPECT_EQ(choice.assignTransactional(transactional), transactional);
    EXPECT_EQ(choice.getChoiceId(), 1);
}

TEST(Choices, SettingAnAlternativeSelectsIt)
{
    HIPGSInterfaceMode mode;
    mode.select_Master();
    mode.setMirroredMaster();
    EXPECT_FALSE(mode.isSetMaster());
    EXPECT_TRUE(mode.isSetMirroredMaster());
    std::ostringstream written;
    ASSERT_EQ(static_cast<const HIPGSBase&>(mode).marshal(written, nullptr), lmx60::ELMX_OK);
    EXPECT_NE(written.str().find("<spirit:mirroredMaster"), std::string::npos) << written.str();
    EXPECT_EQ(written.str().find("<spirit:master"), std::string::npos) << written.str();

    HIPGSQualifier qualifier;
    qualifier.select_IsReset();
    ASSERT_EQ(qualifier.setIsClock(true), lmx60::ELMX_OK);
    EXPECT_FALSE(qualifier.isSetIsReset());
    EXPECT_TRUE(qualifier.getIsClock());
}

TEST(BigIntegers, KeepTwentyAndMoreDigits)
{
    const std::string digits = "123456789012345678901234567890";
    HIPGSBusDefinition definition;
    EXPECT_EQ(definition.setMaxMasters(lmx60::c_big_int(digits)), lmx60::ELMX_OK);
    EXPECT_EQ(definition.getMaxMasters().text(), digits);
    EXPECT_FALSE(definition.getMaxMasters() == lmx60::c_big_int("123456789012345678901234567891"));
}

TEST(ElementIds, CarryTheNamespacePrefixOfTheirSchema)
{
    EXPECT_STREQ(HIPGSAbstractionDefinition().getElementId(), "spirit:abstractionDefinition");
    EXPECT_STREQ(HIPGSAbstractionDefinitionPortInfo().getElementId(), "vorlix:abstractionDefinitionPortInfo");
    EXPECT_STREQ(HIPGSAbstractionDefinitionPorts().getElementId(), "spirit:ports");
    EXPECT_STREQ(HIPGSPortDeclarationType().getElementId(), "spirit:portDeclarationType");
    EXPECT_STREQ(HIPGSAbstractor2().getElementId(), "spirit:abstractor");
    EXPECT_STREQ(HIPGSLibraryRefType().getElementId(), "vorlix:libraryRefType");
    EXPECT_STREQ(HIPGSLibraryRefType2().getElementId(), "spirit:libraryRefType");
    EXPECT_STREQ(PortChoice().getElementId(), "");
}

}  // namespace
