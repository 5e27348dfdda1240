// The database's two kinds of list. Both are singly linked through each
// record's `next`, since everything that prints or writes walks them in
// order, and both change their links only through their own operations, so
// what they remember beside the links (a tail, an index) stays true.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <vector>

template <class T> class NodeIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T *;
    using difference_type = std::ptrdiff_t;
    using pointer = T **;
    using reference = T *;
    explicit NodeIterator(T *node = nullptr) : node_(node) {}
    T *operator*() const { return node_; }
    NodeIterator &operator++() {
        node_ = node_->next;
        return *this;
    }
    bool operator==(const NodeIterator &other) const { return node_ == other.node_; }

  private:
    T *node_;
};

// A customer's records of one kind, in the order they were added. A
// customer may have thousands of records in a period and the loaders add
// them one by one, so the last node is remembered: walking to the end for
// each would make loading quadratic.
template <class T> class RecordList {
  public:
    using iterator = NodeIterator<T>;

    T *head() const { return head_; }
    bool empty() const { return head_ == nullptr; }
    iterator begin() const { return iterator(head_); }
    iterator end() const { return iterator(); }

    // Hangs the run first..last (linked, last->next null) after the end;
    // a store into the old tail only, which is usually far out of cache.
    void append(T *first, T *last) {
        (head_ == nullptr ? head_ : tail_->next) = first;
        tail_ = last;
    }
    void append(T *rec) { append(rec, rec); }

    // Unlinks `rec`; false when it is not in the list.
    bool remove(T *rec) {
        T *prev = nullptr;
        for (T *node = head_; node != rec; prev = node, node = node->next)
            if (node == nullptr)
                return false;
        (prev == nullptr ? head_ : prev->next) = rec->next;
        if (tail_ == rec)
            tail_ = prev;
        rec->next = nullptr;
        return true;
    }

    // Empties the list and hands its records, still linked, to the caller.
    T *release() {
        T *all = head_;
        head_ = tail_ = nullptr;
        return all;
    }

  private:
    T *head_ = nullptr;
    T *tail_ = nullptr;
};

// A list sorted by key with an ordered index beside it: the index turns a
// find, an insertion or a removal into one map search instead of a walk
// from the head. std::string orders bytes as unsigned chars, the order
// strcmp gives, so the index entry before a key is the node before it.
template <class T, class Key, class Compare = std::less<>> class SortedList {
  public:
    using Index = std::map<Key, T *, Compare>;

    using iterator = NodeIterator<T>;

    T *head() const { return head_; }
    bool empty() const { return head_ == nullptr; }
    std::size_t size() const { return index_.size(); }
    iterator begin() const { return iterator(head_); }
    iterator end() const { return iterator(); }

    // New whenever the list changes, and never shared by two lists made
    // apart: a cache kept beside the list tells by it that it is stale.
    std::uint64_t version() const { return version_; }

    template <class K> T *find(const K &key) const {
        auto at = index_.find(key);
        return at == index_.end() ? nullptr : at->second;
    }

    // The first record at or after `key`.
    template <class K> T *lower_bound(const K &key) const {
        auto at = index_.lower_bound(key);
        return at == index_.end() ? nullptr : at->second;
    }

    // Up to `n` records before `key`, nearest first, then up to `n` from
    // it on: the candidates for a name mistyped after its first letters.
    template <class K> std::vector<T *> around(const K &key, int n) const {
        std::vector<T *> near;
        auto at = index_.lower_bound(key);
        for (auto back = at; back != index_.begin() && static_cast<int>(near.size()) < n;)
            near.push_back((--back)->second);
        for (int i = 0; i < n && at != index_.end(); i++, at++)
            near.push_back(at->second);
        return near;
    }

    // Links `rec` at its key's place and returns it; when the key is taken
    // the record already there is returned and `rec` is not linked.
    T *insert(Key key, T *rec) {
        auto hint = index_.end();
        T *prev = nullptr;
        // Files are written in order, so most records read belong after the
        // last one and need no search at all.
        if (!index_.empty() && compare_(index_.rbegin()->first, key)) {
            prev = index_.rbegin()->second;
        } else {
            hint = index_.lower_bound(key);
            if (hint != index_.end() && !compare_(key, hint->first))
                return hint->second;
            if (hint != index_.begin())
                prev = std::prev(hint)->second;
        }
        T *&link = prev == nullptr ? head_ : prev->next;
        rec->next = link;
        link = rec;
        index_.emplace_hint(hint, std::move(key), rec);
        version_ = next_version();
        return rec;
    }

    // Unlinks `rec`, filed under `key`; false when it is not in the list.
    template <class K> bool remove(const K &key, const T *rec) {
        auto at = index_.find(key);
        if (at == index_.end() || at->second != rec)
            return false;
        T *&link = at == index_.begin() ? head_ : std::prev(at)->second->next;
        T *gone = link;
        link = gone->next;
        gone->next = nullptr;
        index_.erase(at);
        version_ = next_version();
        return true;
    }

    // Empties the list and hands its records, still linked, to the caller
    // to free.
    T *release() {
        T *all = head_;
        head_ = nullptr;
        index_.clear();
        version_ = next_version();
        return all;
    }

  private:
    static std::uint64_t next_version() {
        static std::uint64_t last = 0;
        return ++last;
    }

    T *head_ = nullptr;
    Index index_;
    std::uint64_t version_ = next_version();
    [[no_unique_address]] Compare compare_;
};
