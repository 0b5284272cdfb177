#include <ipxact/catalog/catalog.h>

#include <libxml/parser.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include <ipxact/common/HPAParamMgr.h>
#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSBase.h>
#include <ipxact/spirit/HIPGSTop.h>

#include "read_document.h"
#include "vlnv_pattern.h"

namespace ipxact {
namespace catalog {

namespace {

unsigned thread_count(unsigned wanted, size_t work)
{
    unsigned threads = wanted ? wanted : std::max(1u, std::thread::hardware_concurrency());
    return static_cast<unsigned>(std::min<size_t>(threads, std::max<size_t>(work, 1)));
}

// Runs work(0) ... work(count - 1) on `threads` threads, handing out items one at a time (documents
// differ widely in size). With a progress callback the calling thread only reports, a few times a
// second, and the workers do the rest.
void parallel_for(size_t count, unsigned threads, const std::function<void(size_t)>& work,
                  const std::function<void(size_t, size_t)>& progress)
{
    std::atomic<size_t> next{0};
    std::atomic<size_t> done{0};
    std::mutex mutex;
    std::condition_variable finished;
    auto worker = [&] {
        for (size_t i; (i = next.fetch_add(1)) < count;) {
            work(i);
            if (done.fetch_add(1) + 1 == count) {
                std::lock_guard<std::mutex> lock(mutex);
                finished.notify_all();
            }
        }
    };
    if (threads <= 1 && !progress) {
        worker();
        return;
    }
    std::vector<std::thread> pool;
    size_t spawned = progress ? threads : threads - 1;
    for (size_t t = 0; t < spawned; ++t)
        pool.emplace_back(worker);
    if (progress) {
        std::unique_lock<std::mutex> lock(mutex);
        while (done.load() < count) {
            finished.wait_for(lock, std::chrono::milliseconds(100));
            if (done.load() < count)
                progress(done.load(), count);
        }
        progress(count, count);
    } else {
        worker();
    }
    for (std::thread& thread : pool)
        thread.join();
}

bool has_extension(const std::filesystem::path& path, const std::vector<std::string>& extensions)
{
    std::string name = path.filename().string();
    for (const std::string& extension : extensions)
        if (extension.size() < name.size() &&
            lmx60::same_ignoring_ascii_case(extension, std::string_view(name).substr(name.size() - extension.size())))
            return true;
    return false;
}

// A path without links or dots, by which a file met twice is known again; the path itself when it
// cannot be told.
std::string canonical_path(const std::filesystem::path& file)
{
    std::error_code error;
    std::filesystem::path path = std::filesystem::weakly_canonical(file, error);
    return error ? file.string() : path.string();
}

struct FoundFile {
    std::string path;
    std::string canonical;
    bool operator<(const FoundFile& other) const { return path < other.path; }
};

// The files to read for the paths given, with a finding for each path that names nothing.
std::vector<FoundFile> files_at(const std::vector<std::string>& paths, const std::vector<std::string>& extensions,
                                std::vector<Finding>& findings)
{
    namespace fs = std::filesystem;
    std::vector<FoundFile> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            // Directories met below are real ones (links to directories are not followed), so a
            // file's canonical path is the directory's and the rest of its path; only a link to a
            // file needs resolving, one lookup per part of its path.
            const fs::path root = canonical_path(path);
            std::vector<FoundFile> inside;
            fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied, error), end;
            for (; !error && it != end; it.increment(error)) {
                std::error_code ignored;
                if (it->is_directory(ignored)) {
                    std::string name = it->path().filename().string();
                    if (!name.empty() && name[0] == '.')
                        it.disable_recursion_pending();
                    continue;
                }
                if (!it->is_regular_file(ignored) || !has_extension(it->path(), extensions))
                    continue;
                std::string canonical = it->is_symlink(ignored)
                                            ? canonical_path(it->path())
                                            : (root / it->path().lexically_relative(path)).string();
                inside.push_back({it->path().string(), std::move(canonical)});
            }
            if (error)
                findings.push_back({"load.unreadable-directory", Severity::error, path, 0, "",
                                    "cannot read the directory: " + error.message()});
            std::sort(inside.begin(), inside.end());
            files.insert(files.end(), std::make_move_iterator(inside.begin()), std::make_move_iterator(inside.end()));
        } else if (fs::exists(path, error)) {
            files.push_back({path, canonical_path(path)});
        } else {
            findings.push_back({"load.missing", Severity::error, path, 0, "", "no such file or directory"});
        }
    }
    return files;
}

// Whether the binding would send a fault to the host's message handler, which need not be safe
// to call from several threads.
bool diagnostics_on()
{
    return !HIPGSpirit::HIPGSBase::get_silent_lmx_errors() &&
           HPAParamMgr::getParamMgr()->getValueAsBool("ib.debugIPXactSchema");
}

}  // namespace

struct Catalog::Index {
    std::unordered_map<Vlnv, std::vector<const Document*>, VlnvHash> by_vlnv;
    std::unordered_map<std::string, const Document*> by_file;
    std::unordered_map<const Reference*, const Document*> resolved;  // null for dangling
    std::unordered_map<const Document*, std::vector<ReferenceSite>> referrers;
    std::vector<std::vector<const Document*>> cycles;
};

Catalog::Catalog() : m_index(new Index()) {}

Catalog::~Catalog() = default;

Document& Catalog::adopt(std::unique_ptr<Document> document)
{
    DocumentAccess::set_index(*document, m_documents.size());
    m_bytes += document->size_bytes();
    m_view.push_back(document.get());
    m_documents.push_back(std::move(document));
    return *m_documents.back();
}

size_t Catalog::load(const std::vector<std::string>& paths, const LoadOptions& options)
{
    std::vector<FoundFile> found = files_at(paths, options.extensions, m_load_findings);
    // A file already in the catalog, or met twice (named, and found in a directory named), is read
    // once: files are told apart by their canonical paths.
    std::unordered_set<std::string> seen;
    for (const Document* document : m_view)
        seen.insert(canonical_path(document->file()));
    std::vector<std::string> files;
    for (FoundFile& file : found)
        if (seen.insert(file.canonical).second)
            files.push_back(std::move(file.path));

    // libxml2 sets up its global tables on first use; doing it here keeps that out of the threads.
    static std::once_flag parserReady;
    std::call_once(parserReady, [] { xmlInitParser(); });

    struct Outcome {
        std::unique_ptr<Document> document;
        std::vector<Finding> findings;
    };
    std::vector<Outcome> outcomes(files.size());
    unsigned threads = diagnostics_on() ? 1 : thread_count(options.threads, files.size());
    parallel_for(
        files.size(), threads,
        [&](size_t i) {
            try {
                outcomes[i].document = DocumentAccess::read(files[i], nullptr, outcomes[i].findings);
            } catch (const std::exception& e) {
                outcomes[i].document.reset();
                outcomes[i].findings.push_back(
                    {"read.fault", Severity::error, files[i], 0, "", std::string("reading stopped: ") + e.what()});
            }
        },
        options.progress);

    size_t added = 0;
    for (Outcome& outcome : outcomes) {
        m_load_findings.insert(m_load_findings.end(), outcome.findings.begin(), outcome.findings.end());
        if (outcome.document) {
            adopt(std::move(outcome.document));
            ++added;
        }
    }
    // Indexed before returning, as any query would: should building fail, the next query tries again.
    m_index_stale.store(true, std::memory_order_release);
    index();
    return added;
}

const Document& Catalog::add_text(const std::string& file, std::string_view xml)
{
    std::vector<Finding> findings;
    std::unique_ptr<Document> document = DocumentAccess::read(file, &xml, findings);
    m_load_findings.insert(m_load_findings.end(), findings.begin(), findings.end());
    if (!document) {
        // Passed over (not IP-XACT): the caller still gets a document, empty and not clean.
        std::string_view nothing;
        std::vector<Finding> ignored;
        document = DocumentAccess::read(file, &nothing, ignored);
    }
    Document& added = adopt(std::move(document));
    m_index_stale.store(true, std::memory_order_release);
    return added;
}

const Document& Catalog::add_objects(const std::string& file, const HIPGSpirit::HIPGSTop& top)
{
    std::ostringstream text;
    lmx60::s_debug_error fault;
    lmx60::elmx_error code;
    try {
        code = top.marshal(text, &fault);
    } catch (const std::exception& e) {
        throw std::invalid_argument(file + ": the objects cannot be written: " + e.what());
    }
    if (code != lmx60::ELMX_OK)
        throw std::invalid_argument(file + ": the objects cannot be written: " + fault_text(code, fault.item_name));
    return add_text(file, text.str());
}

std::unique_ptr<Catalog::Index> Catalog::build_index() const
{
    std::unique_ptr<Index> built(new Index());
    for (const Document* document : m_view) {
        built->by_file.emplace(document->file(), document);
        if (document->has_vlnv())
            built->by_vlnv[document->vlnv()].push_back(document);
    }
    for (const Document* document : m_view)
        for (const Reference& reference : document->references()) {
            const Document* target = nullptr;
            if (!reference.pattern) {
                auto found = built->by_vlnv.find(reference.target);
                if (found != built->by_vlnv.end())
                    target = found->second.front();
            } else {
                // A pattern names other documents: one that matches its own document would make
                // every extension its own cycle.
                VlnvPattern pattern(reference);
                for (const Document* candidate : m_view)
                    if (candidate != document && candidate->has_vlnv() &&
                        (reference.expected & kind_bit(candidate->kind())) && pattern.matches(candidate->vlnv())) {
                        target = candidate;
                        break;
                    }
            }
            built->resolved.emplace(&reference, target);
            if (target)
                built->referrers[target].push_back({document, &reference});
        }

    // Cycles: strongly connected components (Tarjan, without recursion so that long chains cannot
    // exhaust the stack), each turned into one cycle through its first document.
    size_t n = m_view.size();
    std::vector<std::vector<size_t>> edges(n);
    for (const Document* document : m_view)
        for (const Reference& reference : document->references())
            if (const Document* target = built->resolved[&reference])
                edges[document->index()].push_back(target->index());
    for (auto& out : edges) {
        std::sort(out.begin(), out.end());
        out.erase(std::unique(out.begin(), out.end()), out.end());
    }
    const size_t unvisited = static_cast<size_t>(-1);
    std::vector<size_t> order(n, unvisited), low(n, 0), component(n, unvisited);
    std::vector<bool> onStack(n, false);
    std::vector<size_t> stack;
    size_t counter = 0, components = 0;
    std::vector<std::vector<size_t>> members;
    for (size_t start = 0; start < n; ++start) {
        if (order[start] != unvisited)
            continue;
        std::vector<std::pair<size_t, size_t>> frames{{start, 0}};
        order[start] = low[start] = counter++;
        stack.push_back(start);
        onStack[start] = true;
        while (!frames.empty()) {
            auto& [v, next] = frames.back();
            if (next < edges[v].size()) {
                size_t w = edges[v][next++];
                if (order[w] == unvisited) {
                    order[w] = low[w] = counter++;
                    stack.push_back(w);
                    onStack[w] = true;
                    frames.push_back({w, 0});
                } else if (onStack[w]) {
                    low[v] = std::min(low[v], order[w]);
                }
                continue;
            }
            if (low[v] == order[v]) {
                members.emplace_back();
                size_t w;
                do {
                    w = stack.back();
                    stack.pop_back();
                    onStack[w] = false;
                    component[w] = components;
                    members.back().push_back(w);
                } while (w != v);
                ++components;
            }
            size_t finished = v;
            frames.pop_back();
            if (!frames.empty())
                low[frames.back().first] = std::min(low[frames.back().first], low[finished]);
        }
    }
    for (std::vector<size_t>& scc : members) {
        size_t first = *std::min_element(scc.begin(), scc.end());
        bool selfLoop = std::binary_search(edges[first].begin(), edges[first].end(), first);
        if (scc.size() == 1 && !selfLoop)
            continue;
        // A shortest way back to the first document, inside its component.
        std::vector<size_t> cameFrom(n, unvisited);
        std::vector<size_t> queue{first};
        size_t last = unvisited;
        for (size_t head = 0; head < queue.size() && last == unvisited; ++head) {
            size_t v = queue[head];
            for (size_t w : edges[v]) {
                if (component[w] != component[first])
                    continue;
                if (w == first) {
                    last = v;
                    break;
                }
                if (cameFrom[w] == unvisited) {
                    cameFrom[w] = v;
                    queue.push_back(w);
                }
            }
        }
        std::vector<const Document*> cycle;
        for (size_t v = last; v != first && v != unvisited; v = cameFrom[v])
            cycle.push_back(m_view[v]);
        cycle.push_back(m_view[first]);
        std::reverse(cycle.begin(), cycle.end());
        cycle.push_back(m_view[first]);
        built->cycles.push_back(std::move(cycle));
    }
    return built;
}

const Catalog::Index& Catalog::index() const
{
    // Additions only mark the index stale; the first query after them rebuilds it, once, while any
    // other query waits for it.
    if (m_index_stale.load(std::memory_order_acquire)) {
        std::lock_guard<std::mutex> lock(m_index_guard);
        if (m_index_stale.load(std::memory_order_relaxed)) {
            m_index = build_index();
            m_index_stale.store(false, std::memory_order_release);
        }
    }
    return *m_index;
}

std::vector<const Document*> Catalog::of_kind(DocumentKind kind) const
{
    std::vector<const Document*> found;
    for (const Document* document : m_view)
        if (document->kind() == kind)
            found.push_back(document);
    return found;
}

const Document* Catalog::find(const Vlnv& id) const
{
    const Index& known = index();
    auto found = known.by_vlnv.find(id);
    return found == known.by_vlnv.end() ? nullptr : found->second.front();
}

std::vector<const Document*> Catalog::find_all(const Vlnv& id) const
{
    const Index& known = index();
    auto found = known.by_vlnv.find(id);
    return found == known.by_vlnv.end() ? std::vector<const Document*>() : found->second;
}

const Document* Catalog::find_file(const std::string& file) const
{
    const Index& known = index();
    auto found = known.by_file.find(file);
    return found == known.by_file.end() ? nullptr : found->second;
}

std::vector<std::vector<const Document*>> Catalog::duplicates() const
{
    std::vector<std::vector<const Document*>> found;
    for (const auto& entry : index().by_vlnv)
        if (entry.second.size() > 1)
            found.push_back(entry.second);
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a[0]->index() < b[0]->index(); });
    return found;
}

const Document* Catalog::resolve(const Reference& reference) const
{
    const Index& known = index();
    auto found = known.resolved.find(&reference);
    if (found != known.resolved.end())
        return found->second;
    // A reference that is not one of this catalog's own (a copy): resolved by identifier only.
    return reference.pattern ? nullptr : find(reference.target);
}

std::vector<ReferenceSite> Catalog::dangling() const
{
    std::vector<ReferenceSite> found;
    for (const Document* document : m_view)
        for (const Reference& reference : document->references())
            if (!resolve(reference))
                found.push_back({document, &reference});
    return found;
}

void Catalog::require_own(const Document& document) const
{
    if (document.index() >= m_view.size() || m_view[document.index()] != &document)
        throw std::invalid_argument("the document " + document.file() + " belongs to another catalog");
}

std::vector<ReferenceSite> Catalog::referrers(const Document& target) const
{
    require_own(target);
    const Index& known = index();
    auto found = known.referrers.find(&target);
    return found == known.referrers.end() ? std::vector<ReferenceSite>() : found->second;
}

Closure Catalog::closure(const Document& top) const
{
    require_own(top);
    Closure result;
    enum class Mark : unsigned char { none, open, done };
    std::vector<Mark> marks(m_view.size(), Mark::none);
    struct Frame {
        const Document* document;
        size_t next;
    };
    std::vector<Frame> frames{{&top, 0}};
    marks[top.index()] = Mark::open;
    while (!frames.empty()) {
        Frame& frame = frames.back();
        const std::vector<Reference>& references = frame.document->references();
        if (frame.next == references.size()) {
            marks[frame.document->index()] = Mark::done;
            result.order.push_back(frame.document);
            frames.pop_back();
            continue;
        }
        const Reference& reference = references[frame.next++];
        const Document* target = resolve(reference);
        if (!target) {
            result.missing.push_back({frame.document, &reference});
            continue;
        }
        Mark& mark = marks[target->index()];
        if (mark == Mark::none) {
            mark = Mark::open;
            frames.push_back({target, 0});
        } else if (mark == Mark::open) {
            // Back to a document still being followed: the frames from it to here are a cycle.
            std::vector<const Document*> cycle;
            auto from = std::find_if(frames.begin(), frames.end(), [&](const Frame& f) { return f.document == target; });
            for (auto it = from; it != frames.end(); ++it)
                cycle.push_back(it->document);
            cycle.push_back(target);
            result.cycles.push_back(std::move(cycle));
        }
    }
    return result;
}

std::vector<std::vector<const Document*>> Catalog::cycles() const
{
    return index().cycles;
}

std::vector<Finding> Catalog::check(const Document& document, const std::vector<const Rule*>& rules) const
{
    require_own(document);
    std::vector<const Rule*> chosen = rules.empty() ? RuleRegistry::instance().rules() : rules;
    std::vector<Finding> findings;
    if (!document.read_cleanly())
        return findings;
    DocumentScratch scratch;
    for (const Rule* rule : chosen) {
        if (!(rule->kinds() & kind_bit(document.kind())))
            continue;
        RuleContext context(*this, document, *rule, findings, scratch);
        // A rule that stops has not checked the document: an error, so that a gate on errors
        // does not pass a document nobody finished checking.
        auto stopped = [&](const std::string& why) {
            findings.push_back({"rule.failed", Severity::error, document.file(), 0, "",
                                std::string("rule ") + rule->id() + " stopped: " + why});
        };
        try {
            rule->check(context);
        } catch (const std::exception& e) {
            stopped(e.what());
        } catch (...) {
            stopped("it threw something that is no std::exception");
        }
    }
    std::sort(findings.begin(), findings.end(), finding_less);
    return findings;
}

std::vector<Finding> Catalog::check(const std::vector<const Rule*>& rules, unsigned threads) const
{
    std::vector<const Rule*> chosen = rules.empty() ? RuleRegistry::instance().rules() : rules;
    std::vector<std::vector<Finding>> perDocument(m_view.size());
    parallel_for(
        m_view.size(), thread_count(threads, m_view.size()),
        [&](size_t i) { perDocument[i] = check(*m_view[i], chosen); }, nullptr);
    std::vector<Finding> findings;
    for (std::vector<Finding>& some : perDocument)
        findings.insert(findings.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    std::sort(findings.begin(), findings.end(), finding_less);
    return findings;
}

}  // namespace catalog
}  // namespace ipxact
