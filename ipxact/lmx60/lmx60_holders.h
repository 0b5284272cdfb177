// Member holders of the bound classes: simple values with presence, lists, and owning containers
// of child objects. Copies are deep, comparisons compare content.
#ifndef IPXACT_LMX60_LMX60_HOLDERS_H
#define IPXACT_LMX60_LMX60_HOLDERS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_storage.h>

namespace lmx60 {

namespace detail {

// A child may be of a type derived from the declared one (xsi:type); bound classes copy through
// their virtual clone() so that a deep copy keeps the child's own type.
template <class T, class = void>
struct child_copier {
    static T* copy(const T& child) { return new T(child); }
};

template <class T>
struct child_copier<T, std::void_t<decltype(std::declval<const T&>().clone())>> {
    static T* copy(const T& child) { return child.clone(); }
};

template <class T>
bool same_children(const T& left, const T& right)
{
    return typeid(left) == typeid(right) && left == right;
}

// Values compare as values, except that a NaN read from a document is the same value as the NaN it
// is written back as: an object must equal its own copy and what it reads back as.
template <class T>
bool same_value(const T& left, const T& right)
{
    if constexpr (std::is_floating_point_v<T>)
        return left == right || (left != left && right != right);
    else
        return left == right;
}

template <class T>
bool same_values(const std::vector<T>& left, const std::vector<T>& right)
{
    if (left.size() != right.size())
        return false;
    for (size_t i = 0; i < left.size(); ++i)
        if (!same_value(left[i], right[i]))
            return false;
    return true;
}

}  // namespace detail

template <class T>
class ct_simple_single {
public:
    ct_simple_single() : m_value() {}
    const T& get() const { return m_value; }
    T& get() { return m_value; }
    void set(const T& value) { m_value = value; }
    bool is_set() const { return true; }
    bool operator==(const ct_simple_single& other) const { return detail::same_value(m_value, other.m_value); }
    void swap(ct_simple_single& other) noexcept
    {
        using std::swap;
        swap(m_value, other.m_value);
    }

private:
    T m_value;
};

// Values of class type (texts, big integers, dates) are held behind a pointer when optional; the
// others (flags, numbers) in place.
template <class T>
constexpr bool is_boxed_value = !std::is_trivially_copyable_v<T>;

// An optional value held in place.
template <class T, bool Boxed = is_boxed_value<T>>
class ct_simple_optional {
public:
    ct_simple_optional() : m_value(), m_is_set(false) {}
    const T& get() const { return m_value; }
    T& get() { return m_value; }
    void set(const T& value)
    {
        m_value = value;
        m_is_set = true;
    }
    // Keeps a default value visible through get() while the member stays unset. `lasting` must
    // outlive the holder (the generated classes pass statics of their own).
    void set_default(const T* lasting) { m_value = *lasting; }
    bool is_set() const { return m_is_set; }
    void unset() { m_is_set = false; }
    bool operator==(const ct_simple_optional& other) const
    {
        return m_is_set == other.m_is_set && (!m_is_set || detail::same_value(m_value, other.m_value));
    }
    void swap(ct_simple_optional& other) noexcept
    {
        using std::swap;
        swap(m_value, other.m_value);
        swap(m_is_set, other.m_is_set);
    }

private:
    T m_value;
    bool m_is_set;
};

// An optional value of class type. Most of them are absent from most objects (every configurable
// element carries a dozen optional attributes and sets one or two), so the holder is one word: a
// pointer to the value, null while there is none, with the presence flag and whether the holder
// owns the value in its two low bits. A schema default is not copied into each object: the holder
// points at the generated class's lasting copy until the value is changed.
template <class T>
class ct_simple_optional<T, true> {
public:
    ct_simple_optional() = default;
    ~ct_simple_optional() { release(); }
    ct_simple_optional(const ct_simple_optional& other)
        : m_bits(other.owns() ? reinterpret_cast<uintptr_t>(storage_new<T>(*other.pointer())) | (other.m_bits & kFlags)
                              : other.m_bits)
    {
    }
    ct_simple_optional& operator=(const ct_simple_optional& other)
    {
        ct_simple_optional copy(other);
        swap(copy);
        return *this;
    }
    ct_simple_optional(ct_simple_optional&& other) noexcept : m_bits(other.m_bits) { other.m_bits = 0; }
    ct_simple_optional& operator=(ct_simple_optional&& other) noexcept
    {
        ct_simple_optional moved(std::move(other));
        swap(moved);
        return *this;
    }

    const T& get() const
    {
        const T* value = pointer();
        return value ? *value : empty();
    }
    // The value to change in place; from here on the holder has a copy of its own.
    T& get() { return own(); }
    void set(const T& value)
    {
        own() = value;
        m_bits |= kSet;
    }
    void set(T&& value)
    {
        own() = std::move(value);
        m_bits |= kSet;
    }
    // Keeps a default value visible through get() while the member stays unset. `lasting` must
    // outlive the holder (the generated classes pass statics of their own).
    void set_default(const T* lasting)
    {
        release();
        m_bits = reinterpret_cast<uintptr_t>(lasting) | (m_bits & kSet);
    }
    bool is_set() const { return (m_bits & kSet) != 0; }
    void unset() { m_bits &= ~kSet; }
    bool operator==(const ct_simple_optional& other) const
    {
        return is_set() == other.is_set() && (!is_set() || detail::same_value(get(), other.get()));
    }
    void swap(ct_simple_optional& other) noexcept { std::swap(m_bits, other.m_bits); }

private:
    static_assert(alignof(T) >= 4, "the two low bits of a value's address hold the holder's flags");
    static constexpr uintptr_t kSet = 1;
    static constexpr uintptr_t kOwned = 2;
    static constexpr uintptr_t kFlags = kSet | kOwned;

    static const T& empty()
    {
        static const T value{};
        return value;
    }
    T* pointer() const { return reinterpret_cast<T*>(m_bits & ~kFlags); }
    bool owns() const { return (m_bits & kOwned) != 0; }
    T& own()
    {
        if (!owns()) {
            const T* current = pointer();
            T* copy = current ? storage_new<T>(*current) : storage_new<T>();
            m_bits = reinterpret_cast<uintptr_t>(copy) | kOwned | (m_bits & kSet);
        }
        return *pointer();
    }
    void release()
    {
        if (owns())
            storage_delete(pointer());
        m_bits &= kSet;
    }

    uintptr_t m_bits = 0;
};

template <class T> using ct_simple_pod_single = ct_simple_single<T>;
template <class T> using ct_simple_non_pod_single = ct_simple_single<T>;
template <class T> using ct_simple_pod_optional = ct_simple_optional<T>;
template <class T> using ct_simple_non_pod_optional = ct_simple_optional<T>;

// Repeated simple values (an element that occurs many times) and list-valued simple types alike.
// Most objects hold none (every configurable element may carry a configGroups list and attributes
// of other namespaces), so the values are held behind one pointer, null while there are none.
template <class T>
class ct_simple_multi {
public:
    ct_simple_multi() = default;
    ct_simple_multi(const ct_simple_multi& other)
        : m_items(other.m_items ? new std::vector<T>(*other.m_items) : nullptr)
    {
    }
    ct_simple_multi& operator=(const ct_simple_multi& other)
    {
        ct_simple_multi copy(other);
        swap(copy);
        return *this;
    }
    ct_simple_multi(ct_simple_multi&&) noexcept = default;
    ct_simple_multi& operator=(ct_simple_multi&&) noexcept = default;

    size_t size() const { return m_items ? m_items->size() : 0; }
    const T& get(size_t index) const { return items().at(index); }
    T& get(size_t index) { return items().at(index); }
    void append(const T& value) { items().push_back(value); }
    void insert(size_t index, const T& value) { items().insert(items().begin() + clamp(index), value); }
    void erase(size_t index)
    {
        if (index < size())
            m_items->erase(m_items->begin() + index);
    }
    void clear() { m_items.reset(); }
    const std::vector<T>& items() const { return m_items ? *m_items : empty(); }
    // The values to change in place; from here on the holder has a list of its own.
    std::vector<T>& items()
    {
        if (!m_items)
            m_items.reset(new std::vector<T>());
        return *m_items;
    }
    bool operator==(const ct_simple_multi& other) const { return detail::same_values(items(), other.items()); }
    void swap(ct_simple_multi& other) noexcept { m_items.swap(other.m_items); }

private:
    static const std::vector<T>& empty()
    {
        static const std::vector<T> none;
        return none;
    }
    size_t clamp(size_t index) const { return index < size() ? index : size(); }
    std::unique_ptr<std::vector<T>> m_items;
};

template <class T> using ct_simple_non_pod_multi = ct_simple_multi<T>;
template <class T> using ct_simple_pod_multi = ct_simple_multi<T>;

// A list value with a presence flag: an attribute that is present may still hold no items, which is
// an error the writer and reader report.
template <class T>
class ct_simple_list_optional : public ct_simple_multi<T> {
public:
    bool is_set() const { return m_is_set; }
    void set_present() { m_is_set = true; }
    void unset()
    {
        this->clear();
        m_is_set = false;
    }
    bool operator==(const ct_simple_list_optional& other) const
    {
        return m_is_set == other.m_is_set && ct_simple_multi<T>::operator==(other);
    }
    void swap(ct_simple_list_optional& other) noexcept
    {
        ct_simple_multi<T>::swap(other);
        std::swap(m_is_set, other.m_is_set);
    }

private:
    bool m_is_set = false;
};

template <class T>
class ct_simple_list_single : public ct_simple_multi<T> {
public:
    bool is_set() const { return true; }
};

using ct_simple_pod_list_single = ct_simple_list_single<double>;
template <class T> using ct_simple_non_pod_list_optional = ct_simple_list_optional<T>;

struct c_empty {
    bool operator==(const c_empty&) const { return true; }
};

// Members most objects leave unset, held together behind one pointer, null until one of them is
// set: every configurable value (a field's width, a register's size) admits a dozen optional
// attributes that documents hardly ever write, and a word for each in every object is most of the
// object. Reading through a const holder never allocates; T's default value (its defaults applied)
// stands in while there is none. A reference to a member read through it stays valid while the
// holder keeps its block (until it is assigned, swapped or reset).
template <class T>
class ct_boxed {
public:
    ct_boxed() = default;
    ~ct_boxed() { storage_delete(m_value); }
    ct_boxed(const ct_boxed& other) : m_value(other.m_value ? storage_new<T>(*other.m_value) : nullptr) {}
    ct_boxed& operator=(const ct_boxed& other)
    {
        ct_boxed copy(other);
        swap(copy);
        return *this;
    }
    ct_boxed(ct_boxed&& other) noexcept : m_value(other.m_value) { other.m_value = nullptr; }
    ct_boxed& operator=(ct_boxed&& other) noexcept
    {
        ct_boxed moved(std::move(other));
        swap(moved);
        return *this;
    }

    const T& get() const { return m_value ? *m_value : unset(); }
    // The members to change; from here on the holder has a block of its own.
    T& own()
    {
        if (!m_value)
            m_value = storage_new<T>();
        return *m_value;
    }
    // The block, or null while there is none: for taking a member away without making one.
    T* find() { return m_value; }
    const T* operator->() const { return &get(); }
    T* operator->() { return &own(); }
    bool operator==(const ct_boxed& other) const { return get() == other.get(); }
    void swap(ct_boxed& other) noexcept { std::swap(m_value, other.m_value); }

private:
    static const T& unset()
    {
        static const T value{};
        return value;
    }

    T* m_value = nullptr;
};

// An element without content: only its presence matters.
template <class T = c_empty>
class ct_empty_single {
public:
    bool is_set() const { return m_is_set; }
    void set() { m_is_set = true; }
    void unset() { m_is_set = false; }
    bool operator==(const ct_empty_single& other) const { return m_is_set == other.m_is_set; }
    void swap(ct_empty_single& other) noexcept { std::swap(m_is_set, other.m_is_set); }

private:
    bool m_is_set = false;
};

// One owned child object, created on demand.
template <class T>
class ct_complex_single {
public:
    ct_complex_single() = default;
    ct_complex_single(const ct_complex_single& other)
        : m_child(other.m_child ? detail::child_copier<T>::copy(*other.m_child) : nullptr)
    {
    }
    ct_complex_single& operator=(const ct_complex_single& other)
    {
        ct_complex_single copy(other);
        swap(copy);
        return *this;
    }
    ct_complex_single(ct_complex_single&&) noexcept = default;
    ct_complex_single& operator=(ct_complex_single&&) noexcept = default;

    bool is_set() const { return m_child != nullptr; }
    T& get()
    {
        if (!m_child)
            m_child.reset(new T());
        return *m_child;
    }
    const T& get() const
    {
        if (!m_child)
            throw lmx_exception("access to an absent child element");
        return *m_child;
    }
    const T* get_ptr() const { return m_child.get(); }
    T* get_ptr() { return m_child.get(); }
    void assign(const T& value) { get() = value; }
    // Null detaches the child and hands it to the caller; otherwise the holder takes ownership.
    T* assign(T* child)
    {
        if (!child)
            return m_child.release();
        m_child.reset(child);
        return child;
    }
    void unset() { m_child.reset(); }
    bool operator==(const ct_complex_single& other) const
    {
        if (!m_child || !other.m_child)
            return !m_child && !other.m_child;
        return detail::same_children(*m_child, *other.m_child);
    }
    void swap(ct_complex_single& other) noexcept { m_child.swap(other.m_child); }

private:
    std::unique_ptr<T> m_child;
};

template <class T> using ct_complex_optional = ct_complex_single<T>;

// Owned child objects in document order.
template <class T>
class ct_complex_multi {
public:
    ct_complex_multi() = default;
    ct_complex_multi(const ct_complex_multi& other)
    {
        m_items.reserve(other.m_items.size());
        for (const auto& item : other.m_items)
            m_items.emplace_back(detail::child_copier<T>::copy(*item));
    }
    ct_complex_multi& operator=(const ct_complex_multi& other)
    {
        ct_complex_multi copy(other);
        swap(copy);
        return *this;
    }
    ct_complex_multi(ct_complex_multi&&) noexcept = default;
    ct_complex_multi& operator=(ct_complex_multi&&) noexcept = default;

    size_t size() const { return m_items.size(); }
    const T& get(size_t index) const { return *m_items.at(index); }
    T& get(size_t index) { return *m_items.at(index); }
    T& append() { return append(new T()); }
    T& append(T* child)
    {
        m_items.emplace_back(child);
        return *child;
    }
    T& insert(size_t index) { return insert(index, new T()); }
    T& insert(size_t index, T* child)
    {
        if (index > m_items.size())
            index = m_items.size();
        m_items.emplace(m_items.begin() + index, child);
        return *child;
    }
    void assign(size_t index, const T& value) { *m_items.at(index) = value; }
    // Replaces the item at `index`, destroying the old one; the container owns `child` afterwards.
    T& assign(size_t index, T* child)
    {
        m_items.at(index).reset(child);
        return *child;
    }
    T& back() { return m_items.empty() ? append() : *m_items.back(); }
    void erase(size_t index)
    {
        if (index < m_items.size())
            m_items.erase(m_items.begin() + index);
    }
    void clear() { m_items.clear(); }
    bool operator==(const ct_complex_multi& other) const
    {
        if (m_items.size() != other.m_items.size())
            return false;
        for (size_t i = 0; i < m_items.size(); ++i)
            if (!detail::same_children(*m_items[i], *other.m_items[i]))
                return false;
        return true;
    }
    void swap(ct_complex_multi& other) noexcept { m_items.swap(other.m_items); }

private:
    std::vector<std::unique_ptr<T>, storage_allocator<std::unique_ptr<T>>> m_items;
};

}  // namespace lmx60

#endif
