// Exact customer names to customers, packed tight.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct customer;

// Every account named in a history file is looked up here first. With tens
// of thousands of customers the lookup's cache misses dominate loading, so
// the table keeps its slots, its entries and the name texts each in one
// contiguous block instead of a node and a string per customer.
class ExactNameIndex {
  public:
    customer *find(const char *lastname, const char *firstname) const;
    void insert(const char *lastname, const char *firstname, customer *c);
    void erase(const char *lastname, const char *firstname, const customer *c);
    void clear();
    size_t size() const { return live_; }

  private:
    struct Slot {
        uint32_t hash;
        uint32_t entry; // kEmpty, kErased, or an index into entries_
    };
    struct Entry {
        uint32_t key_offset;
        uint32_t key_length;
        customer *c;
    };
    static constexpr uint32_t kEmpty = 0xFFFFFFFF;
    static constexpr uint32_t kErased = 0xFFFFFFFE;

    struct Key;
    size_t probe(const Key &key) const;
    void rebuild(size_t slot_count);

    std::vector<Slot> slots_;
    std::vector<Entry> entries_;
    std::vector<char> texts_;
    size_t live_ = 0;
    size_t occupied_ = 0; // live and erased slots
};
