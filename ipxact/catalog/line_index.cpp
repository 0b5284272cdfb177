#include <ipxact/catalog/line_index.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>

namespace ipxact {
namespace catalog {

namespace {

// Splits "memoryMap[2]" into its name and 0-based position; false on a malformed position.
bool split_step(std::string_view step, std::string_view* name, size_t* position)
{
    *position = 0;
    size_t open = step.find('[');
    if (open == std::string_view::npos) {
        *name = step;
        return !step.empty();
    }
    if (step.back() != ']' || open == 0 || open + 2 >= step.size())
        return false;
    *name = step.substr(0, open);
    size_t value = 0;
    for (char c : step.substr(open + 1, step.size() - open - 2)) {
        if (c < '0' || c > '9' || value > 100000000)
            return false;
        value = value * 10 + static_cast<size_t>(c - '0');
    }
    if (value == 0)
        return false;
    *position = value - 1;
    return true;
}

}  // namespace

std::string_view LineIndex::name_text(uint32_t number) const
{
    if (number >= m_name_starts.size())
        return std::string_view();
    size_t start = m_name_starts[number];
    size_t end = number + 1 < m_name_starts.size() ? m_name_starts[number + 1] : m_name_text.size();
    return std::string_view(m_name_text).substr(start, end - start - 1);
}

int LineIndex::line(Node node) const
{
    return node < m_nodes.size() ? static_cast<int>(m_nodes[node].line) : 0;
}

LineIndex::Node LineIndex::child(Node parent, std::string_view local, size_t position) const
{
    return child_at_depth(parent, local, position, 0);
}

LineIndex::Node LineIndex::child_at_depth(Node parent, std::string_view local, size_t position, size_t depth) const
{
    if (parent >= m_nodes.size())
        return npos;
    // Names are compared by id: the few distinct names once, then each sibling by a number.
    uint32_t name = 0;
    while (name < m_name_starts.size() && name_text(name) != local)
        ++name;
    if (name == m_name_starts.size())
        return npos;
    // Findings come in document order, so the n-th child of a name is mostly asked for right after
    // an earlier one: the search resumes where this thread's last one at that depth of a path
    // ended, and a run of findings among many siblings costs linear time, not quadratic.
    struct Search {
        uint64_t serial = 0;
        Node parent = npos;
        uint32_t name = 0;
        size_t position = 0;
        Node found = npos;
    };
    thread_local Search searches[32];
    Search& last = searches[depth % 32];
    Node at = parent + 1;
    size_t remaining = position;
    if (last.serial == m_serial && last.parent == parent && last.name == name && last.position <= position) {
        at = last.found;
        remaining = position - last.position;
    }
    for (; at < m_nodes[parent].end; at = m_nodes[at].end) {
        if (m_nodes[at].name != name)
            continue;
        if (remaining == 0) {
            last = Search{m_serial, parent, name, position, at};
            return at;
        }
        --remaining;
    }
    return npos;
}

std::vector<LineIndex::Node> LineIndex::children(Node parent) const
{
    std::vector<Node> found;
    if (parent >= m_nodes.size())
        return found;
    for (Node at = parent + 1; at < m_nodes[parent].end; at = m_nodes[at].end)
        found.push_back(at);
    return found;
}

std::string LineIndex::path(Node node) const
{
    if (node >= m_nodes.size())
        return std::string();
    std::vector<Node> chain;
    for (Node at = node; at != npos; at = m_nodes[at].parent)
        chain.push_back(at);
    std::string text;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        const Entry& entry = m_nodes[*it];
        if (!text.empty())
            text += '/';
        text += name_text(entry.name);
        if (entry.parent == npos)
            continue;
        size_t position = position_among_siblings(*it, static_cast<size_t>(it - chain.rbegin()));
        if (position > 1)
            text += '[' + std::to_string(position) + ']';
    }
    return text;
}

size_t LineIndex::position_among_siblings(Node node, size_t depth) const
{
    // Paths are asked for in document order (the references of a document, one after another), so
    // the count resumes from this thread's last one at that depth under the same parent.
    struct Count {
        uint64_t serial = 0;
        Node parent = npos;
        uint32_t name = 0;
        Node node = npos;
        size_t position = 0;
    };
    thread_local Count counts[32];
    Count& last = counts[depth % 32];
    const Entry& entry = m_nodes[node];
    Node at = entry.parent + 1;
    size_t position = 1;
    if (last.serial == m_serial && last.parent == entry.parent && last.name == entry.name && last.node <= node) {
        if (last.node == node)
            return last.position;
        // last.node is the last.position-th; count on from the sibling after it
        at = m_nodes[last.node].end;
        position = last.position + 1;
    }
    for (; at < node; at = m_nodes[at].end)
        if (m_nodes[at].name == entry.name)
            ++position;
    last = Count{m_serial, entry.parent, entry.name, node, position};
    return position;
}

LineIndex::Node LineIndex::find(std::string_view path) const
{
    Node nearest = find_nearest(path);
    if (nearest == npos)
        return npos;
    // find_nearest stops early when a step is missing: the path names an indexed element only when
    // the element reached has as many steps as the path.
    size_t steps = 1;
    for (char c : path)
        steps += c == '/';
    size_t depth = 0;
    for (Node at = nearest; at != npos; at = m_nodes[at].parent)
        ++depth;
    return depth == steps ? nearest : npos;
}

LineIndex::Node LineIndex::find_nearest(std::string_view path) const
{
    if (m_nodes.empty())
        return npos;
    Node at = npos;
    for (size_t depth = 0; !path.empty(); ++depth) {
        size_t slash = path.find('/');
        std::string_view step = path.substr(0, slash);
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
        std::string_view local;
        size_t position = 0;
        if (!split_step(step, &local, &position))
            return at;
        Node next;
        if (at == npos)
            next = position == 0 && name_text(m_nodes[0].name) == local ? 0 : npos;
        else
            next = child_at_depth(at, local, position, depth);
        if (next == npos)
            return at;
        at = next;
    }
    return at;
}

size_t LineIndex::memory_bytes() const
{
    return m_nodes.capacity() * sizeof(Entry) + m_name_text.capacity() + m_name_starts.capacity() * sizeof(uint32_t);
}

LineIndex::Builder::Builder(LineIndex& index) : m_index(index)
{
    static std::atomic<uint64_t> builds{0};
    m_index.m_nodes.clear();
    m_index.m_name_text.clear();
    m_index.m_name_starts.clear();
    m_index.m_serial = ++builds;
}

void LineIndex::Builder::reserve(size_t elements)
{
    m_index.m_nodes.reserve(std::min<size_t>(elements, npos - 1));
}

uint32_t LineIndex::Builder::name_id(const char* local)
{
    // The parser interns names, so within one document a name is nearly always the same pointer,
    // and a small table by pointer answers; behind it, names are known by their text.
    auto address = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(local));
    RecentName& recent = m_recent[(address * 0x9E3779B97F4A7C15ull) >> 56];
    if (recent.pointer != local)
        recent = {local, name_id_by_text(local)};
    return recent.id;
}

uint32_t LineIndex::Builder::name_id_by_text(std::string_view local)
{
    // Kept at most half full, so that a search ends soon at a free slot; sized from the names held,
    // which a builder resumed after finish() keeps while the table starts again empty.
    std::vector<uint32_t>& names = m_index.m_name_starts;
    size_t wanted = 64;
    while (wanted < 2 * (names.size() + 1))
        wanted *= 2;
    if (m_by_text.size() < wanted) {
        std::vector<uint32_t> grown(wanted, 0);
        for (uint32_t id = 0; id < names.size(); ++id) {
            size_t slot = std::hash<std::string_view>()(m_index.name_text(id)) & (grown.size() - 1);
            while (grown[slot] != 0)
                slot = (slot + 1) & (grown.size() - 1);
            grown[slot] = id + 1;
        }
        m_by_text.swap(grown);
    }
    size_t slot = std::hash<std::string_view>()(local) & (m_by_text.size() - 1);
    for (; m_by_text[slot] != 0; slot = (slot + 1) & (m_by_text.size() - 1))
        if (m_index.name_text(m_by_text[slot] - 1) == local)
            return m_by_text[slot] - 1;
    // Names are found by 32-bit offsets: only gigabytes of distinct names could outgrow them.
    if (m_index.m_name_text.size() + local.size() >= kNoName)
        return kNoName;
    auto id = static_cast<uint32_t>(names.size());
    names.push_back(static_cast<uint32_t>(m_index.m_name_text.size()));
    m_index.m_name_text.append(local).push_back('\0');
    m_by_text[slot] = id + 1;
    return id;
}

void LineIndex::Builder::element(size_t level, const char* local, int line)
{
    std::vector<Entry>& nodes = m_index.m_nodes;
    if (level == 0 || nodes.size() >= npos - 1 || m_names_full)
        return;
    // A second document element (only after a fault) would make a second root; keep it under the
    // first so that the index stays one tree.
    if (level == 1 && !nodes.empty())
        level = 2;
    while (m_open.size() >= level) {
        nodes[m_open.back()].end = static_cast<uint32_t>(nodes.size());
        m_open.pop_back();
    }
    uint32_t name = name_id(local ? local : "");
    // Past the names' room, as past the index's size, the rest of the document is left out: an
    // element left out alone would make its children its parent's.
    if (name == kNoName) {
        m_names_full = true;
        return;
    }
    // Levels can skip when elements between were passed over unseen; the nearest open one is the
    // parent then.
    Node parent = m_open.empty() ? npos : m_open.back();
    Node self = static_cast<Node>(nodes.size());
    // Made in place, field by field: an entry made aside and copied in would be read back whole
    // while its fields are still being written, a stall for every element.
    Entry& entry = nodes.emplace_back();
    entry.parent = parent;
    entry.end = self + 1;
    entry.line = line > 0 ? static_cast<uint32_t>(line) : 0u;
    entry.name = name;
    m_open.push_back(self);
}

LineIndex::Node LineIndex::Builder::open_at_line(int line) const
{
    for (auto it = m_open.rbegin(); it != m_open.rend(); ++it)
        if (line > 0 && m_index.m_nodes[*it].line == static_cast<uint32_t>(line))
            return *it;
    return current();
}

void LineIndex::Builder::finish()
{
    std::vector<Entry>& nodes = m_index.m_nodes;
    while (!m_open.empty()) {
        nodes[m_open.back()].end = static_cast<uint32_t>(nodes.size());
        m_open.pop_back();
    }
    nodes.shrink_to_fit();
    m_index.m_name_text.shrink_to_fit();
    m_index.m_name_starts.shrink_to_fit();
    m_by_text = {};
}

}  // namespace catalog
}  // namespace ipxact
