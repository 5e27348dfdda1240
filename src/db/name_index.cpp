#include "db/name_index.h"

#include <cstring>

// A key is the last name, a NUL and the first name, stored with a closing
// NUL. Names never hold a NUL, so two different pairs never share a key.
struct ExactNameIndex::Key {
    const char *last;
    size_t last_length;
    const char *first;
    size_t first_length;
    uint32_t hash;

    Key(const char *lastname, const char *firstname)
        : last(lastname), last_length(strlen(lastname)), first(firstname),
          first_length(strlen(firstname)) {
        uint32_t h = 2166136261u; // FNV-1a over last, NUL, first
        for (size_t i = 0; i < last_length; i++)
            h = (h ^ static_cast<unsigned char>(last[i])) * 16777619u;
        h *= 16777619u;
        for (size_t i = 0; i < first_length; i++)
            h = (h ^ static_cast<unsigned char>(first[i])) * 16777619u;
        hash = h;
    }
    size_t length() const { return last_length + 1 + first_length; }
    bool matches(const char *text, size_t length_) const {
        return length_ == length() && memcmp(text, last, last_length) == 0 &&
               text[last_length] == '\0' &&
               memcmp(text + last_length + 1, first, first_length) == 0;
    }
};

// Index of the slot holding the key, or of the empty slot that ends its
// probe sequence.
size_t ExactNameIndex::probe(const Key &key) const {
    size_t mask = slots_.size() - 1;
    for (size_t i = key.hash & mask;; i = (i + 1) & mask) {
        const Slot &s = slots_[i];
        if (s.entry == kEmpty)
            return i;
        if (s.entry != kErased && s.hash == key.hash) {
            const Entry &e = entries_[s.entry];
            if (key.matches(&texts_[e.key_offset], e.key_length))
                return i;
        }
    }
}

customer *ExactNameIndex::find(const char *lastname, const char *firstname) const {
    if (live_ == 0)
        return nullptr;
    const Slot &s = slots_[probe(Key(lastname, firstname))];
    return s.entry == kEmpty ? nullptr : entries_[s.entry].c;
}

void ExactNameIndex::insert(const char *lastname, const char *firstname, customer *c) {
    if ((occupied_ + 1) * 2 > slots_.size())
        rebuild(live_ * 4);
    Key key(lastname, firstname);
    size_t at = probe(key);
    if (slots_[at].entry != kEmpty) {
        entries_[slots_[at].entry].c = c;
        return;
    }
    entries_.push_back(
        {static_cast<uint32_t>(texts_.size()), static_cast<uint32_t>(key.length()), c});
    texts_.insert(texts_.end(), lastname, lastname + key.last_length + 1);
    texts_.insert(texts_.end(), firstname, firstname + key.first_length + 1);
    slots_[at] = {key.hash, static_cast<uint32_t>(entries_.size() - 1)};
    live_++;
    occupied_++;
}

void ExactNameIndex::erase(const char *lastname, const char *firstname, const customer *c) {
    if (live_ == 0)
        return;
    Slot &s = slots_[probe(Key(lastname, firstname))];
    if (s.entry == kEmpty || entries_[s.entry].c != c)
        return;
    entries_[s.entry].c = nullptr;
    s.entry = kErased;
    live_--;
}

void ExactNameIndex::clear() {
    slots_.clear();
    entries_.clear();
    texts_.clear();
    live_ = 0;
    occupied_ = 0;
}

// Grows the table, dropping erased slots and the texts of erased entries.
void ExactNameIndex::rebuild(size_t slot_count) {
    size_t size = 64;
    while (size < slot_count)
        size *= 2;
    std::vector<Entry> old_entries;
    old_entries.swap(entries_);
    std::vector<char> old_texts;
    old_texts.swap(texts_);
    slots_.assign(size, Slot{0, kEmpty});
    live_ = 0;
    occupied_ = 0;
    for (const Entry &e : old_entries) {
        if (e.c == nullptr)
            continue;
        const char *last = &old_texts[e.key_offset];
        insert(last, last + strlen(last) + 1, e.c);
    }
}
