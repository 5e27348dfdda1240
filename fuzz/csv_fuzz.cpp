// Feeds arbitrary bytes to IMPORT's CSV reader. Whatever comes in, every
// row has a line number within the file, in order, and a row that is taken
// holds no byte that would break a history line. A plain ASCII row taken
// must read back the same after it is written out again fully quoted.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "entry/csv_rows.h"
#include "fuzz/reader_fuzz.h"

bool fuzz_select(const char *kind) {
    return strcmp(kind, "csv") == 0;
}

void fuzz_setup(const char *) {}

namespace {

std::string quoted(const std::vector<std::string> &fields, char delimiter) {
    std::string line;
    for (size_t i = 0; i < fields.size(); i++) {
        if (i > 0)
            line += delimiter;
        line += '"';
        for (char c : fields[i])
            line += c == '"' ? std::string("\"\"") : std::string(1, c);
        line += '"';
    }
    return line + "\n";
}

} // namespace

int fuzz_one(const uint8_t *data, size_t size) {
    const char *text = reinterpret_cast<const char *>(data);
    std::vector<CsvRow> rows = read_csv_rows(text, size);
    int lines = 1;
    for (size_t i = 0; i < size; i++)
        lines += text[i] == '\n';
    int previous = 0;
    bool ascii = true;
    for (size_t i = 0; i < size; i++)
        ascii = ascii && (unsigned char)text[i] < 0x80;
    for (const CsvRow &row : rows) {
        if (row.line < 1 || row.line > lines || row.line < previous)
            abort();
        previous = row.line;
        if (!row.refusal.empty() || row.fields.empty())
            continue;
        for (const std::string &field : row.fields)
            for (char c : field)
                if ((unsigned char)c < ' ')
                    abort();
        if (!ascii)
            continue;
        // The header's delimiter decides; a comma file reads commas back.
        std::string again = quoted(row.fields, ',');
        std::vector<CsvRow> back = read_csv_rows(again.data(), again.size());
        bool long_line = again.size() - 1 > CSV_LINE_MAX;
        if (!long_line && (back.size() != 1 || back[0].fields != row.fields))
            abort();
    }
    return 0;
}

#ifdef VARNOK_FUZZ_KIND
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return fuzz_one(data, size);
}
#endif
