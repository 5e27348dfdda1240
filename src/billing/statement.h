// A customer's statement as values. The bill computation prices each
// record and hands the statement's lines, in the order they are printed,
// to a sink; it writes nothing itself. The statement layout is one sink,
// a collector of values is another.
#pragma once

#include <cstdint>

#include "billing/billing.h"

// The parts of a statement whose heading depends on what the customer has.
enum class StatementSection { fuel, misc_charges, misc_credits, misc_end, payments };

class StatementSink {
  public:
    virtual ~StatementSink() = default;
    virtual void begin(const customer * /*c*/) {}
    virtual void section(StatementSection /*s*/) {}
    // A flight's own columns, then each of its priced lines.
    virtual void flight_line(const flight * /*f*/, int32_t /*minutes*/) {}
    virtual void tow_line(const flight * /*f*/, int32_t /*cents*/) {}
    virtual void charge_line(const char * /*label*/, int32_t /*cents*/) {}
    virtual void flight_end() {}
    virtual void fuel(const gas * /*g*/) {}
    virtual void misc_line(const misc * /*m*/) {}
    virtual void payment_line(const payment * /*p*/) {}
    virtual void finance(int32_t /*unpaid*/, int32_t /*fee*/) {}
    virtual void end(const charges * /*totals*/) {}
};

// Prices a customer's records in `range` into c->charges (cleared first),
// adds them to `total` when not null, and, with `accumulate`, to the
// aircraft's and tow planes' period totals.
void bill_customer(customer *c, charges *total, const DateRange &range, bool finance,
                   bool accumulate, StatementSink *sink);

// The price rules, one per kind of charge, in cents from the rates' mills.
int32_t tow_price(int32_t towheight, const char *cat);
int32_t instruction_price(int32_t hours, const char *cat, bool club_aircraft);
int32_t rental_price(int32_t hours, const char *cat, PriceItem &plane);
int32_t fixed_tow_price(bool rope_break, const char *cat);
// The finance charge on `unpaid`, 0 when none is due.
int32_t finance_price(int32_t unpaid, const char *cat);

// The statement layout: prints what the computation hands it.
class StatementPrinter : public StatementSink {
  public:
    StatementPrinter(const char *heading, const char *trailer, const char *start, const char *end)
        : heading_(heading), trailer_(trailer), start_(start), end_(end) {}
    void begin(const customer *c) override;
    void section(StatementSection s) override;
    void flight_line(const flight *f, int32_t minutes) override;
    void tow_line(const flight *f, int32_t cents) override;
    void charge_line(const char *label, int32_t cents) override;
    void flight_end() override;
    void fuel(const gas *g) override;
    void misc_line(const misc *m) override;
    void payment_line(const payment *p) override;
    void finance(int32_t unpaid, int32_t fee) override;
    void end(const charges *totals) override;

  private:
    const char *heading_, *trailer_, *start_, *end_;
    const customer *c_ = nullptr;
    bool line_open_ = false;
    bool had_misc_charges_ = false;
};
