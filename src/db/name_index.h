// Exact customer names to customers, packed tight.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

struct customer;

// Every account named in a history file is looked up here first. With tens
// of thousands of customers the lookup's cache misses dominate loading, so
// a lookup touches two places only: a slot, and the record it points at,
// which holds the customer and the name text side by side.
class ExactNameIndex {
  public:
    customer *find(std::string_view lastname, std::string_view firstname) const;
    // A lookup started early: two lines ahead of it its slot is fetched,
    // one line ahead the record the slot points at, so that by the time
    // the lookup runs both are in cache. A wrong guess costs a fetch only.
    static uint32_t hash_of(std::string_view lastname, std::string_view firstname);
    void fetch_slot(uint32_t hash) const;
    void fetch_record(uint32_t hash) const;
    void insert(const char *lastname, const char *firstname, customer *c);
    void erase(const char *lastname, const char *firstname, const customer *c);
    void clear();
    size_t size() const { return live_; }

  private:
    struct Slot {
        uint32_t hash;
        uint32_t record; // kEmpty, kErased, or an offset into records_
    };
    static constexpr uint32_t kEmpty = 0xFFFFFFFF;
    static constexpr uint32_t kErased = 0xFFFFFFFE;

    struct Key;
    size_t probe(const Key &key) const;
    void insert_key(const Key &key, customer *c);
    customer *customer_at(uint32_t record) const;
    void rebuild(size_t slot_count);

    std::vector<Slot> slots_;
    // Records one after another: the customer pointer (null once erased),
    // the key's length as a uint32_t, then the key's bytes.
    std::vector<char> records_;
    size_t live_ = 0;
    size_t occupied_ = 0; // live and erased slots
};
