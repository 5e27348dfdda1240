// A sorted singly linked list of records with an ordered index beside it.
// Everything that prints or writes walks the list in name order; the index
// turns a find, an insertion or a removal into one map search instead of a
// walk from the head. The two are changed only here, so they cannot drift
// apart. std::string orders bytes as unsigned chars, the order strcmp gives,
// so the index entry before a key is the node before it in the list.
#pragma once

#include <cstddef>
#include <iterator>
#include <map>
#include <vector>

template <class T, class Key, class Compare = std::less<>> class SortedList {
  public:
    using Index = std::map<Key, T *, Compare>;

    class iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T *;
        using difference_type = std::ptrdiff_t;
        using pointer = T **;
        using reference = T *;
        explicit iterator(T *node = nullptr) : node_(node) {}
        T *operator*() const { return node_; }
        iterator &operator++() {
            node_ = node_->next;
            return *this;
        }
        bool operator==(const iterator &other) const { return node_ == other.node_; }

      private:
        T *node_;
    };

    T *head() const { return head_; }
    bool empty() const { return head_ == nullptr; }
    std::size_t size() const { return index_.size(); }
    iterator begin() const { return iterator(head_); }
    iterator end() const { return iterator(); }

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
        return true;
    }

    // Empties the list and hands its records, still linked, to the caller
    // to free.
    T *release() {
        T *all = head_;
        head_ = nullptr;
        index_.clear();
        return all;
    }

  private:
    T *head_ = nullptr;
    Index index_;
    [[no_unique_address]] Compare compare_;
};
