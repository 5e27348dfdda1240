// IMPORT's reading of a CSV file into rows of text, through libcsv:
// comma or semicolon (whichever the header line uses), RFC 4180 quoting,
// UTF-8 or Latin-1. The data files hold Latin-1, one byte a letter, so
// UTF-8 text is converted to it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct CsvRow {
    int line = 0; // the physical line the row starts on
    std::vector<std::string> fields;
    std::string refusal; // why the row cannot be read, or ""
};

// A typed line is at most this long; a longer CSV line is refused.
enum { CSV_LINE_MAX = 200 };

std::vector<CsvRow> read_csv_rows(const char *data, size_t size);
