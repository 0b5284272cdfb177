#include <ipxact/catalog/report.h>

#include <cstdio>
#include <map>

namespace ipxact {
namespace catalog {

namespace {

// Descriptions of the ids that the catalog itself reports, outside any rule.
const std::map<std::string, const char*>& own_ids()
{
    static const std::map<std::string, const char*> ids = {
        {"read.fault", "the document reads without a fault (well-formed, valid for the binding)"},
        {"load.missing", "a path given to load names a file or directory"},
        {"load.unreadable-directory", "a directory given to load can be read"},
        {"load.not-ipxact", "a file found is an IP-XACT or vendor document (others are passed over)"},
        {"rule.failed", "a rule ran to its end on the document"},
    };
    return ids;
}

// Appends `text` as the inside of a JSON string. Broken UTF-8 becomes U+FFFD, so that the
// output is valid JSON whatever bytes a file name or document held.
void append_json_text(std::string& out, const std::string& text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    size_t size = text.size();
    for (size_t i = 0; i < size;) {
        unsigned char c = bytes[i];
        if (c < 0x80) {
            switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20 || c == 0x7F) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
            }
            ++i;
            continue;
        }
        size_t length = c >= 0xF0 && c <= 0xF4 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 && c <= 0xDF ? 2 : 0;
        bool valid = length > 0 && i + length <= size;
        for (size_t k = 1; valid && k < length; ++k)
            valid = (bytes[i + k] & 0xC0) == 0x80;
        if (valid && length == 3) {
            unsigned code = ((c & 0x0Fu) << 12) | ((bytes[i + 1] & 0x3Fu) << 6) | (bytes[i + 2] & 0x3Fu);
            valid = code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
        } else if (valid && length == 4) {
            unsigned code = ((c & 0x07u) << 18) | ((bytes[i + 1] & 0x3Fu) << 12) | ((bytes[i + 2] & 0x3Fu) << 6) |
                            (bytes[i + 3] & 0x3Fu);
            valid = code >= 0x10000 && code <= 0x10FFFF;
        }
        if (!valid) {
            out += "\xEF\xBF\xBD";
            ++i;
            continue;
        }
        out.append(text, i, length);
        i += length;
    }
}

std::string json(const std::string& text)
{
    std::string out = "\"";
    append_json_text(out, text);
    out += '"';
    return out;
}

// A file name as a URI reference: unreserved characters and '/' kept, everything else
// percent-encoded; an absolute name becomes a file URI.
std::string file_uri(const std::string& file)
{
    std::string out = !file.empty() && file[0] == '/' ? "file://" : "";
    static const char* hex = "0123456789ABCDEF";
    for (unsigned char c : file) {
        bool keep = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                    c == '.' || c == '_' || c == '~' || c == '/';
        if (keep) {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

const char* sarif_level(Severity severity)
{
    return severity == Severity::error ? "error" : severity == Severity::warning ? "warning" : "note";
}

}  // namespace

void write_text(std::ostream& out, const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings)
        out << format_finding(finding) << '\n';
}

bool has_errors(const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings)
        if (finding.severity == Severity::error)
            return true;
    return false;
}

void write_sarif(std::ostream& out, const std::vector<Finding>& findings, const std::vector<const Rule*>& rules,
                 const SarifTool& tool)
{
    std::vector<std::pair<std::string, std::string>> ruleList;  // id, description
    std::map<std::string, size_t> ruleIndex;
    auto addRule = [&](const std::string& id, const std::string& description) {
        if (ruleIndex.count(id))
            return;
        ruleIndex[id] = ruleList.size();
        ruleList.emplace_back(id, description);
    };
    for (const Rule* rule : rules)
        addRule(rule->id(), rule->description());
    for (const Finding& finding : findings) {
        auto known = own_ids().find(finding.rule);
        addRule(finding.rule, known != own_ids().end() ? known->second : finding.rule);
    }

    std::string text;
    text += "{\n  \"$schema\": \"https://json.schemastore.org/sarif-2.1.0.json\",\n  \"version\": \"2.1.0\",\n";
    text += "  \"runs\": [\n    {\n      \"tool\": {\n        \"driver\": {\n          \"name\": " + json(tool.name);
    if (!tool.version.empty())
        text += ",\n          \"version\": " + json(tool.version);
    text += ",\n          \"rules\": [";
    for (size_t i = 0; i < ruleList.size(); ++i) {
        text += i ? ",\n" : "\n";
        text += "            {\"id\": " + json(ruleList[i].first) + ", \"shortDescription\": {\"text\": " +
                json(ruleList[i].second) + "}}";
    }
    text += ruleList.empty() ? "]\n" : "\n          ]\n";
    text += "        }\n      },\n      \"results\": [";
    for (size_t i = 0; i < findings.size(); ++i) {
        const Finding& finding = findings[i];
        text += i ? ",\n" : "\n";
        text += "        {\"ruleId\": " + json(finding.rule) + ", \"ruleIndex\": " +
                std::to_string(ruleIndex[finding.rule]) + ", \"level\": \"" + sarif_level(finding.severity) +
                "\", \"message\": {\"text\": " + json(finding.message) + "}, \"locations\": [{";
        text += "\"physicalLocation\": {\"artifactLocation\": {\"uri\": " + json(file_uri(finding.file)) + "}";
        if (finding.line > 0)
            text += ", \"region\": {\"startLine\": " + std::to_string(finding.line) + "}";
        text += "}";
        if (!finding.path.empty())
            text += ", \"logicalLocations\": [{\"fullyQualifiedName\": " + json(finding.path) +
                    ", \"kind\": \"element\"}]";
        text += "}]}";
    }
    text += findings.empty() ? "]\n" : "\n      ]\n";
    text += "    }\n  ]\n}\n";
    out << text;
}

}  // namespace catalog
}  // namespace ipxact
