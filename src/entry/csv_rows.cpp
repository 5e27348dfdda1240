// The CSV reader behind IMPORT. libcsv does the quoting; this file feeds it
// one physical line at a time so that each row knows its line number, and
// turns whatever cannot be a row of text (a line too long, control bytes, a
// broken quote) into a refusal of that row instead of a failure of the file.
#include <csv.h>

#include <cstring>

#include "entry/csv_rows.h"

namespace {

// Valid UTF-8 throughout, with at least one letter beyond ASCII.
bool is_utf8(const unsigned char *p, size_t size) {
    bool wide = false;
    for (size_t i = 0; i < size;) {
        unsigned char c = p[i];
        size_t extra = c < 0x80             ? 0
                       : (c & 0xE0) == 0xC0 ? 1
                       : (c & 0xF0) == 0xE0 ? 2
                       : (c & 0xF8) == 0xF0 ? 3
                                            : 9;
        if (extra == 9 || (extra == 1 && c < 0xC2))
            return false;
        for (size_t k = 1; k <= extra; k++)
            if (i + k >= size || (p[i + k] & 0xC0) != 0x80)
                return false;
        wide = wide || extra > 0;
        i += extra + 1;
    }
    return wide;
}

// UTF-8 to Latin-1; a letter beyond Latin-1 becomes "?" and is reported.
std::string to_latin1(const std::string &text, bool &lost) {
    std::string out;
    for (size_t i = 0; i < text.size(); i++) {
        unsigned char c = (unsigned char)text[i];
        if (c < 0x80) {
            out += (char)c;
            continue;
        }
        unsigned code = 0;
        size_t extra = (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : 3;
        code = c & (0x3F >> extra);
        for (size_t k = 0; k < extra && i + 1 < text.size(); k++)
            code = code << 6 | ((unsigned char)text[++i] & 0x3F);
        lost = lost || code > 0xFF;
        out += code > 0xFF ? '?' : (char)code;
    }
    return out;
}

struct Reader {
    std::vector<CsvRow> rows;
    CsvRow row;
    bool utf8 = false;
    int line = 0;
    bool in_row = false;

    void field(const char *text, size_t size) {
        if (!in_row) {
            row.line = line;
            in_row = true;
        }
        std::string value(text, size);
        for (char c : value)
            if ((unsigned char)c < ' ' && row.refusal.empty())
                row.refusal = "control character in a field (not a text file?)";
        bool lost = false;
        if (utf8)
            value = to_latin1(value, lost);
        if (lost && row.refusal.empty())
            row.refusal = "character that the data files cannot hold";
        row.fields.push_back(std::move(value));
    }
    void end() {
        if (!in_row)
            row.line = line;
        rows.push_back(std::move(row));
        row = CsvRow{};
        in_row = false;
    }
};

void on_field(void *text, size_t size, void *data) {
    static_cast<Reader *>(data)->field(text != nullptr ? static_cast<char *>(text) : "", size);
}

void on_row(int, void *data) {
    static_cast<Reader *>(data)->end();
}

// The header decides: the more frequent of ";" and "," outside quotes.
unsigned char delimiter(const char *data, size_t size) {
    size_t commas = 0, semicolons = 0;
    bool quoted = false;
    for (size_t i = 0; i < size && data[i] != '\n'; i++) {
        if (data[i] == '"')
            quoted = !quoted;
        else if (!quoted)
            (data[i] == ',' ? commas : semicolons) += data[i] == ',' || data[i] == ';';
    }
    return semicolons > commas ? ';' : ',';
}

} // namespace

std::vector<CsvRow> read_csv_rows(const char *data, size_t size) {
    Reader reader;
    size_t skip = size >= 3 && memcmp(data, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
    data += skip;
    size -= skip;
    reader.utf8 = is_utf8(reinterpret_cast<const unsigned char *>(data), size);
    unsigned char delim = delimiter(data, size);
    csv_parser parser;
    csv_init(&parser, CSV_STRICT | CSV_APPEND_NULL);
    csv_set_delim(&parser, delim);
    // The row that holds a bad line is refused whole, and a fresh parser
    // starts on the next line.
    auto refuse = [&](int line, const char *why) {
        csv_free(&parser);
        csv_init(&parser, CSV_STRICT | CSV_APPEND_NULL);
        csv_set_delim(&parser, delim);
        reader.rows.push_back(CsvRow{line, {}, why});
        reader.row = CsvRow{};
        reader.in_row = false;
    };
    for (size_t at = 0; at < size;) {
        const char *newline = static_cast<const char *>(memchr(data + at, '\n', size - at));
        size_t length = newline != nullptr ? (size_t)(newline - data) + 1 - at : size - at;
        size_t text = length - (newline != nullptr);
        if (text > 0 && data[at + text - 1] == '\r')
            text--;
        reader.line++;
        if (text > CSV_LINE_MAX)
            refuse(reader.line, "line longer than 200 characters");
        else if (memchr(data + at, '\0', length) != nullptr)
            refuse(reader.line, "binary data (not a text file?)");
        else if (csv_parse(&parser, data + at, length, on_field, on_row, &reader) != length)
            refuse(reader.in_row ? reader.row.line : reader.line, "quotes out of place");
        at += length;
    }
    csv_fini(&parser, on_field, on_row, &reader);
    csv_free(&parser);
    return reader.rows;
}
