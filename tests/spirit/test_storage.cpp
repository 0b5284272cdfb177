// Bound objects and what they own come from the runtime's own storage, not from the host's global
// operator new. An object must still be free to leave its document, to outlive it, to move between
// threads and to be released by any of them.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include <ipxact/spirit/HIPGSpirit.h>

using namespace HIPGSpirit;

namespace {

std::string block_of(int registers)
{
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<spirit:addressBlock xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\">\n"
        "  <spirit:name>regs</spirit:name>\n"
        "  <spirit:baseAddress>0</spirit:baseAddress>\n"
        "  <spirit:range>4096</spirit:range>\n"
        "  <spirit:width>32</spirit:width>\n";
    for (int r = 0; r < registers; ++r) {
        std::string n = std::to_string(r);
        xml += "  <spirit:register>\n"
               "    <spirit:name>register_with_a_long_name_" + n + "</spirit:name>\n"
               "    <spirit:addressOffset>" + std::to_string(4 * r) + "</spirit:addressOffset>\n"
               "    <spirit:size>32</spirit:size>\n"
               "    <spirit:reset><spirit:value>" + n + "</spirit:value></spirit:reset>\n"
               "    <spirit:field spirit:id=\"identifier_long_enough_to_leave_the_string_" + n + "\">\n"
               "      <spirit:name>f</spirit:name>\n"
               "      <spirit:bitOffset>0</spirit:bitOffset>\n"
               "      <spirit:bitWidth spirit:resolve=\"user\">8</spirit:bitWidth>\n"
               "    </spirit:field>\n"
               "  </spirit:register>\n";
    }
    return xml + "</spirit:addressBlock>\n";
}

std::string written(const HIPGSBase& object)
{
    std::stringstream text;
    EXPECT_TRUE(object.dumpXml(text));
    return text.str();
}

TEST(ObjectStorage, ObjectsTakenOutOfADocumentOutliveItInAnotherThread)
{
    const int kRegisters = 2000;
    const std::string xml = block_of(kRegisters);
    auto block = std::make_unique<HIPGSAddressBlock>();
    ASSERT_EQ(block->unmarshal(xml.data(), xml.size()), lmx60::ELMX_OK);
    HIPGSRegisterData& registers = block->getAddressBlockDefinitionGroup().getRegisterData();
    const std::string kept_register = written(registers.getRegister(7));

    // Taken out in this thread, released in another after the document is gone; and the other
    // way round, a copy made in another thread is released here.
    std::unique_ptr<HIPGSRegister> taken(new HIPGSRegister(registers.getRegister(7)));
    std::unique_ptr<HIPGSReset> reset(registers.getRegister(7).getRegisterDefinitionGroup().assignReset(nullptr));
    const std::string whole = written(*block);
    std::unique_ptr<HIPGSAddressBlock> copy;
    std::thread other([&] {
        copy.reset(new HIPGSAddressBlock(*block));
        block.reset();
        EXPECT_EQ(written(*taken), kept_register);
        taken.reset();
    });
    other.join();
    ASSERT_TRUE(reset);
    EXPECT_EQ(written(*copy), whole);
    EXPECT_NE(written(*reset).find(">7<"), std::string::npos);

    // Lists and optional values of the copy change and shrink with their storage from two threads.
    HIPGSRegisterData& copied = copy->getAddressBlockDefinitionGroup().getRegisterData();
    std::thread editor([&] {
        for (size_t r = copied.sizeRegister(); r-- > 1;)
            if (r % 2)
                copied.deleteRegister(r);
        copied.getRegister(0).getRegisterDefinitionGroup().assignReset(reset.release());
    });
    editor.join();
    EXPECT_EQ(copied.sizeRegister(), static_cast<size_t>(kRegisters / 2));
    EXPECT_NE(written(copied.getRegister(0)).find(">7<"), std::string::npos);
    copy.reset();
}

}  // namespace
