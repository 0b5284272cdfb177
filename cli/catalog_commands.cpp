#include "catalog_commands.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <sstream>

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/report.h>

using namespace ipxact::catalog;

namespace ipxact_cli {

namespace {

// The catalog of one command, released when the command is done unless the process is about to
// end anyway: a catalog of thousands of documents holds millions of objects, and releasing them one
// by one is a noticeable part of the command for nothing.
struct CommandCatalog {
    explicit CommandCatalog(const catalog_options& options) : leave_to_exit(options.leave_catalog_to_exit) {}
    ~CommandCatalog()
    {
        // Held from a static list, so that leak checkers still see it reachable.
        static auto* left = new std::vector<std::unique_ptr<Catalog>>();
        if (!leave_to_exit)
            return;
        try {
            left->push_back(std::move(owned));
        } catch (const std::bad_alloc&) {
            // Nothing was moved: the catalog is released here after all.
        }
    }
    std::unique_ptr<Catalog> owned = std::make_unique<Catalog>();
    Catalog& catalog = *owned;
    bool leave_to_exit;
};

// A bar on standard error, drawn only on a terminal and only once loading has taken long enough
// for a user to wonder.
class progress_bar {
public:
    progress_bar() : m_enabled(isatty(STDERR_FILENO) == 1), m_start(std::chrono::steady_clock::now()) {}
    ~progress_bar() { clear(); }

    void show(size_t done, size_t total)
    {
        if (!m_enabled || total == 0 || std::chrono::steady_clock::now() - m_start < std::chrono::milliseconds(500))
            return;
        const size_t width = 30;
        size_t filled = done * width / total;
        std::cerr << "\r\033[K[" << std::string(filled, '#') << std::string(width - filled, '.') << "] " << done
                  << '/' << total << " documents" << std::flush;
        m_visible = true;
    }

    void clear()
    {
        if (m_visible)
            std::cerr << "\r\033[K" << std::flush;
        m_visible = false;
    }

private:
    bool m_enabled;
    bool m_visible = false;
    std::chrono::steady_clock::time_point m_start;
};

void load(Catalog& catalog, const std::vector<std::string>& paths, unsigned threads)
{
    progress_bar bar;
    LoadOptions options;
    options.threads = threads;
    options.progress = [&bar](size_t done, size_t total) { bar.show(done, total); };
    catalog.load(paths, options);
    bar.clear();
}

std::vector<Finding> shown(const std::vector<Finding>& findings, bool notes)
{
    std::vector<Finding> kept;
    for (const Finding& finding : findings)
        if (notes || finding.severity != Severity::note)
            kept.push_back(finding);
    return kept;
}

void print_sarif(std::ostream& out, const std::vector<Finding>& findings)
{
    SarifTool tool;
    tool.version = "0.1";
    write_sarif(out, findings, RuleRegistry::instance().rules(), tool);
}

std::string plural(size_t count, const char* one, const char* many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string identity(const Document& document)
{
    return document.has_vlnv() ? document.vlnv().to_string() : document.root_element();
}

}  // namespace

catalog_options parse_catalog_options(const std::string& command, const std::vector<std::string>& arguments)
{
    catalog_options options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        auto value = [&](std::string* into) {
            if (i + 1 == arguments.size()) {
                options.error = argument + " needs a value";
                return false;
            }
            *into = arguments[++i];
            return true;
        };
        std::string text;
        if (argument == "--format") {
            if (!value(&text))
                break;
            if (text == "text")
                options.format = output_format::text;
            else if (text == "sarif")
                options.format = output_format::sarif;
            else
                options.error = "unknown format '" + text + "' (text or sarif)";
        } else if (argument == "--notes") {
            options.notes = true;
        } else if (argument == "--findings" && command == "catalog") {
            options.list_findings = true;
        } else if (argument == "--rules" && command == "check") {
            options.list_rules = true;
        } else if (argument == "--threads") {
            if (!value(&text))
                break;
            char* end = nullptr;
            unsigned long n = std::strtoul(text.c_str(), &end, 10);
            if (text.empty() || *end || n > 1024)
                options.error = "--threads needs a number from 0 to 1024";
            else
                options.threads = static_cast<unsigned>(n);
        } else if (argument == "--catalog" && command == "deps") {
            if (!value(&text))
                break;
            options.catalog_paths.push_back(text);
        } else if (argument.size() > 1 && argument[0] == '-') {
            options.error = "unknown option '" + argument + "'";
        } else {
            options.operands.push_back(argument);
        }
        if (!options.error.empty())
            break;
    }
    return options;
}

void print_rules(std::ostream& out)
{
    std::vector<const Rule*> rules = RuleRegistry::instance().rules();
    size_t width = 0;
    for (const Rule* rule : rules)
        width = std::max(width, std::strlen(rule->id()));
    for (const Rule* rule : rules)
        out << std::left << std::setw(static_cast<int>(width + 2)) << rule->id() << rule->description() << '\n';
}

int run_catalog_summary(const catalog_options& options, std::ostream& out)
{
    auto start = std::chrono::steady_clock::now();
    CommandCatalog command(options);
    Catalog& catalog = command.catalog;
    load(catalog, options.operands, options.threads);
    std::vector<Finding> findings = catalog.load_findings();
    std::vector<Finding> ruled = catalog.check({}, options.threads);
    findings.insert(findings.end(), ruled.begin(), ruled.end());
    std::sort(findings.begin(), findings.end(), finding_less);
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    if (options.format == output_format::sarif) {
        print_sarif(out, shown(findings, options.notes));
        return has_errors(findings) ? 1 : 0;
    }
    if (options.list_findings)
        write_text(out, shown(findings, options.notes));

    const std::vector<const Document*>& documents = catalog.documents();
    std::ostringstream size;
    size << std::fixed << std::setprecision(1) << static_cast<double>(catalog.bytes_loaded()) / 1e6;
    std::ostringstream time;
    time << std::fixed << std::setprecision(2) << seconds;
    out << "catalog: " << plural(documents.size(), "document", "documents") << " (" << size.str() << " MB) in "
        << time.str() << " s\n";
    out << "documents per kind:\n";
    std::map<std::string, size_t> perRoot;
    for (const Document* document : documents)
        if (document->kind() == DocumentKind::other)
            ++perRoot[document->root_element().empty() ? "(not read)" : document->root_element()];
    for (size_t k = 0; k < kDocumentKindCount; ++k) {
        auto kind = static_cast<DocumentKind>(k);
        if (kind == DocumentKind::other)
            continue;
        size_t count = catalog.of_kind(kind).size();
        if (count)
            out << "  " << kind_name(kind) << ": " << count << '\n';
    }
    for (const auto& root : perRoot)
        out << "  " << root.first << ": " << root.second << '\n';

    std::vector<std::vector<const Document*>> duplicates = catalog.duplicates();
    out << "duplicate identifiers: " << duplicates.size() << '\n';
    for (const auto& group : duplicates) {
        out << "  " << group.front()->vlnv().to_string() << ':';
        for (const Document* document : group)
            out << ' ' << document->file();
        out << '\n';
    }
    std::vector<ReferenceSite> dangling = catalog.dangling();
    size_t references = 0;
    for (const Document* document : documents)
        references += document->references().size();
    out << "references: " << references << ", resolved " << references - dangling.size() << ", dangling "
        << dangling.size() << '\n';
    std::map<std::string, size_t> missing;
    for (const ReferenceSite& site : dangling)
        ++missing[site.reference->element + ' ' + site.reference->target.to_string()];
    for (const auto& entry : missing)
        out << "  " << entry.first << " (" << plural(entry.second, "reference", "references") << ")\n";
    std::vector<std::vector<const Document*>> cycles = catalog.cycles();
    out << "cycles: " << cycles.size() << '\n';
    for (const auto& cycle : cycles) {
        out << " ";
        for (size_t i = 0; i < cycle.size(); ++i)
            out << (i ? " -> " : " ") << identity(*cycle[i]);
        out << '\n';
    }

    std::map<std::string, std::array<size_t, 3>> perRule;
    for (const Finding& finding : findings)
        ++perRule[finding.rule][static_cast<size_t>(finding.severity)];
    out << "findings per rule:" << (perRule.empty() ? " none\n" : "\n");
    for (const auto& rule : perRule) {
        out << "  " << rule.first << ':';
        const char* names[3][2] = {{"note", "notes"}, {"warning", "warnings"}, {"error", "errors"}};
        bool first = true;
        for (int s = 2; s >= 0; --s)
            if (rule.second[s]) {
                out << (first ? " " : ", ") << plural(rule.second[s], names[s][0], names[s][1]);
                first = false;
            }
        out << '\n';
    }
    return has_errors(findings) ? 1 : 0;
}

int run_dependencies(const catalog_options& options, std::ostream& out, std::ostream& err)
{
    const std::string& subject = options.operands.front();
    std::error_code error;
    bool isFile = std::filesystem::is_regular_file(subject, error);
    std::vector<std::string> paths;
    if (isFile)
        paths.push_back(subject);
    std::vector<std::string> catalogPaths = options.catalog_paths;
    if (catalogPaths.empty()) {
        if (!isFile) {
            err << "ipxact deps: '" << subject << "' is no file; give the catalog to look it up in with --catalog DIR\n";
            return 2;
        }
        std::filesystem::path folder = std::filesystem::path(subject).parent_path();
        catalogPaths.push_back(folder.empty() ? "." : folder.string());
    }
    paths.insert(paths.end(), catalogPaths.begin(), catalogPaths.end());

    CommandCatalog command(options);
    Catalog& catalog = command.catalog;
    load(catalog, paths, options.threads);
    const Document* top = nullptr;
    if (isFile) {
        top = catalog.find_file(subject);
        if (!top) {
            for (const Finding& finding : catalog.load_findings())
                if (finding.file == subject)
                    err << format_finding(finding) << '\n';
            err << "ipxact deps: " << subject << " could not be read\n";
            return 1;
        }
    } else {
        std::optional<Vlnv> id = Vlnv::parse(subject);
        if (!id) {
            err << "ipxact deps: '" << subject << "' is neither a file nor VENDOR:LIBRARY:NAME:VERSION\n";
            return 2;
        }
        top = catalog.find(*id);
        if (!top) {
            err << "ipxact deps: " << subject << " is not in the catalog ("
                << plural(catalog.documents().size(), "document", "documents") << " loaded)\n";
            return 1;
        }
    }

    Closure closure = catalog.closure(*top);
    out << "dependencies of " << identity(*top) << " (" << top->file() << "), dependencies first:\n";
    for (const Document* document : closure.order)
        out << "  " << kind_name(document->kind()) << ' ' << identity(*document) << ' ' << document->file() << '\n';
    if (!closure.missing.empty()) {
        out << "not found:\n";
        for (const ReferenceSite& site : closure.missing)
            out << "  " << site.reference->target.to_string() << " (" << site.reference->element << " in "
                << site.from->file() << ':' << site.reference->line << ")\n";
    }
    for (const auto& cycle : closure.cycles) {
        out << "cycle:";
        for (size_t i = 0; i < cycle.size(); ++i)
            out << (i ? " -> " : " ") << identity(*cycle[i]);
        out << '\n';
    }
    // A document read with faults may hold only part of its references: what it needs is not known.
    bool faulty = false;
    for (const Document* document : closure.order) {
        if (document->read_cleanly())
            continue;
        if (!faulty)
            out << "read with faults, so what they need may be incomplete:\n";
        faulty = true;
        out << "  " << document->file() << '\n';
        for (const Finding& finding : catalog.load_findings())
            if (finding.file == document->file())
                err << format_finding(finding) << '\n';
    }
    return closure.missing.empty() && closure.cycles.empty() && !faulty ? 0 : 1;
}

namespace {

// A fault met in reading, as `ipxact check` prints it: "FILE:LINE: error CODE: DESCRIPTION
// (ELEMENT)". The catalog words a reader fault "code CODE: DESCRIPTION (ELEMENT)"; a fault without
// a reader code (a file that cannot be opened) keeps its message.
std::string read_fault_line(const Finding& finding)
{
    const std::string prefix = "code ";
    std::string text = finding.file + ":" + std::to_string(finding.line) + ": error";
    if (finding.message.compare(0, prefix.size(), prefix) == 0)
        return text + " " + finding.message.substr(prefix.size());
    return text + ": " + finding.message;
}

}  // namespace

int run_check_text(const catalog_options& options, std::ostream& out)
{
    CommandCatalog command(options);
    Catalog& catalog = command.catalog;
    load(catalog, options.operands, options.threads);
    // Files that did not become documents (not opened, not IP-XACT) count as documents with faults.
    size_t documents = catalog.documents().size();
    size_t faulty = 0;
    size_t faultCount = 0;
    for (const Document* document : catalog.documents())
        faulty += document->read_cleanly() ? 0 : 1;
    std::string lastFile;
    for (const Finding& finding : catalog.load_findings()) {
        bool isDocument = catalog.find_file(finding.file) != nullptr;
        out << (finding.rule == "read.fault" ? read_fault_line(finding) : format_finding(finding)) << '\n';
        ++faultCount;
        if (!isDocument && finding.file != lastFile) {
            ++documents;
            ++faulty;
        }
        lastFile = finding.file;
    }
    out << "checked " << plural(documents, "document", "documents") << ": " << documents - faulty << " clean, "
        << faulty << " with faults (" << plural(faultCount, "fault", "faults") << ")\n";
    std::vector<Finding> findings = shown(catalog.check({}, options.threads), options.notes);
    write_text(out, findings);
    if (!findings.empty())
        out << "rules: " << plural(findings.size(), "finding", "findings") << '\n';
    return faulty == 0 && !has_errors(findings) ? 0 : 1;
}

}  // namespace ipxact_cli
