// Reads documents of any kind through HIPGSTop and reports the faults through the host's message
// handler: the library sends a failure report for every document it cannot read, and this host
// prints each message with its own wording. READ_ANY_LISTING=true in the environment sets the host
// parameter "ib.debugIPXactSchema", and the report then lists the document with line numbers.
//
//   read_any document.xml...

#include <ipxact/common/ComMsgMgr.h>
#include <ipxact/common/HPAParamMgr.h>
#include <ipxact/spirit/HIPGSTop.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

// Messages are catalogue references: the identifier between the first two '@' names the message,
// so that a host can look up its own wording; the rest of `text` is the library's own wording.
struct catalogue_message {
    std::string id;
    std::string wording;
};

catalogue_message split(const std::string& text)
{
    const size_t end = text.find('@', 1);
    if (text.empty() || text[0] != '@' || end == std::string::npos)
        return {"-", text};
    return {text.substr(1, end - 1), text.substr(end + 1)};
}

bool read(const char* path)
{
    std::cout << path << "\n";
    std::ifstream file(path);
    if (!file) {
        std::cout << "  cannot open\n";
        return false;
    }
    std::stringstream document;
    document << file.rdbuf();
    HIPGSpirit::HIPGSTop top;
    if (!top.readXml(document))
        return false;
    std::cout << "  read " << top.getChosenElementId() << "\n";
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: read_any document.xml...\n";
        return 2;
    }
    if (const char* debug = std::getenv("READ_ANY_LISTING"))
        HPAParamMgr::getParamMgr()->setValue("ib.debugIPXactSchema", debug);
    ComMsgMgr::setHandler([](const ComMsgMgr::Message& message) {
        const catalogue_message parts = split(message.text);
        std::cout << "  message " << parts.id << " (" << message.domain << ", severity "
                  << message.severity << "): " << parts.wording << "\n";
    });
    int failures = 0;
    for (int i = 1; i < argc; ++i)
        failures += read(argv[i]) ? 0 : 1;
    return failures == 0 ? 0 : 1;
}
