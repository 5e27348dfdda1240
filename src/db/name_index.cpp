#include "db/name_index.h"

#include <cstring>

namespace {

constexpr size_t kPointer = sizeof(customer *);
constexpr size_t kKeyText = kPointer + sizeof(uint32_t);

} // namespace

// A key is the last name, a NUL and the first name. Names never hold a NUL,
// so two different pairs never share a key.
struct ExactNameIndex::Key {
    std::string_view last;
    std::string_view first;
    uint32_t hash;

    Key(std::string_view lastname, std::string_view firstname)
        : last(lastname), first(firstname), hash(hash_of(lastname, firstname)) {}
    uint32_t length() const { return static_cast<uint32_t>(last.size() + 1 + first.size()); }
    bool matches(const char *record) const {
        uint32_t stored = 0;
        memcpy(&stored, record + kPointer, sizeof stored);
        const char *text = record + kKeyText;
        // Compared as views: a missing first name may come as a view of no
        // pointer at all, which memcmp must not be handed.
        return stored == length() && std::string_view(text, last.size()) == last &&
               text[last.size()] == '\0' &&
               std::string_view(text + last.size() + 1, first.size()) == first;
    }
};

uint32_t ExactNameIndex::hash_of(std::string_view lastname, std::string_view firstname) {
    uint32_t h = 2166136261u; // FNV-1a over last, NUL, first
    for (char ch : lastname)
        h = (h ^ static_cast<unsigned char>(ch)) * 16777619u;
    h *= 16777619u;
    for (char ch : firstname)
        h = (h ^ static_cast<unsigned char>(ch)) * 16777619u;
    return h;
}

void ExactNameIndex::fetch_slot(uint32_t hash) const {
    if (!slots_.empty())
        __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]);
}

void ExactNameIndex::fetch_record(uint32_t hash) const {
    if (slots_.empty())
        return;
    const Slot &s = slots_[hash & (slots_.size() - 1)];
    if (s.record < kErased && s.hash == hash)
        __builtin_prefetch(&records_[s.record]);
}

customer *ExactNameIndex::customer_at(uint32_t record) const {
    customer *c = nullptr;
    memcpy(&c, &records_[record], kPointer);
    return c;
}

// Index of the slot holding the key, or of the empty slot that ends its
// probe sequence.
size_t ExactNameIndex::probe(const Key &key) const {
    size_t mask = slots_.size() - 1;
    for (size_t i = key.hash & mask;; i = (i + 1) & mask) {
        const Slot &s = slots_[i];
        if (s.record == kEmpty)
            return i;
        if (s.record != kErased && s.hash == key.hash && key.matches(&records_[s.record]))
            return i;
    }
}

customer *ExactNameIndex::find(std::string_view lastname, std::string_view firstname) const {
    if (live_ == 0)
        return nullptr;
    const Slot &s = slots_[probe(Key(lastname, firstname))];
    return s.record == kEmpty ? nullptr : customer_at(s.record);
}

void ExactNameIndex::insert(const char *lastname, const char *firstname, customer *c) {
    if ((occupied_ + 1) * 2 > slots_.size())
        rebuild(live_ * 4);
    insert_key(Key(lastname, firstname), c);
}

void ExactNameIndex::insert_key(const Key &key, customer *c) {
    size_t at = probe(key);
    if (slots_[at].record != kEmpty) {
        memcpy(&records_[slots_[at].record], &c, kPointer);
        return;
    }
    size_t offset = records_.size();
    uint32_t length = key.length();
    // Each record starts on a pointer boundary so its head is one load.
    records_.resize(offset + ((kKeyText + length + kPointer - 1) & ~(kPointer - 1)));
    char *record = &records_[offset];
    memcpy(record, &c, kPointer);
    memcpy(record + kPointer, &length, sizeof length);
    memcpy(record + kKeyText, key.last.data(), key.last.size());
    record[kKeyText + key.last.size()] = '\0';
    memcpy(record + kKeyText + key.last.size() + 1, key.first.data(), key.first.size());
    slots_[at] = {key.hash, static_cast<uint32_t>(offset)};
    live_++;
    occupied_++;
}

void ExactNameIndex::erase(const char *lastname, const char *firstname, const customer *c) {
    if (live_ == 0)
        return;
    Slot &s = slots_[probe(Key(lastname, firstname))];
    if (s.record == kEmpty || customer_at(s.record) != c)
        return;
    memset(&records_[s.record], 0, kPointer);
    s.record = kErased;
    live_--;
}

void ExactNameIndex::clear() {
    slots_.clear();
    records_.clear();
    live_ = 0;
    occupied_ = 0;
}

// Grows the table, dropping erased slots and the records of erased entries.
void ExactNameIndex::rebuild(size_t slot_count) {
    size_t size = 64;
    while (size < slot_count)
        size *= 2;
    std::vector<char> old;
    old.swap(records_);
    slots_.assign(size, Slot{0, kEmpty});
    live_ = 0;
    occupied_ = 0;
    for (size_t at = 0; at < old.size();) {
        customer *c = nullptr;
        uint32_t length = 0;
        memcpy(&c, &old[at], kPointer);
        memcpy(&length, &old[at + kPointer], sizeof length);
        const char *last = &old[at + kKeyText];
        // The key's NUL divides it; the first name is the rest of its length.
        if (c != nullptr) {
            size_t last_length = strlen(last);
            insert_key(Key(std::string_view(last, last_length),
                           std::string_view(last + last_length + 1, length - last_length - 1)),
                       c);
        }
        at += (kKeyText + length + kPointer - 1) & ~(kPointer - 1);
    }
}
