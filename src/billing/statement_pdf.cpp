// Laying statements out as PDF with libharu. Nothing is measured or
// wrapped: each text line goes on the page at a fixed pitch in a fixed-width
// font, which is what keeps the columns of the flight table together.
#include "billing/statement_pdf.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include <hpdf.h>
#include <hpdf_doc.h>
#include <hpdf_streams.h>

namespace {

void on_error(HPDF_STATUS error, HPDF_STATUS detail, void *data);

} // namespace

struct StatementPdf {
    HPDF_Doc doc = nullptr;
    HPDF_Font regular = nullptr;
    HPDF_Font bold = nullptr;
    HPDF_STATUS error = 0;
    HPDF_STATUS detail = 0;
    // Where the saved document goes: one of them.
    std::string *bytes = nullptr;
    FILE *out = nullptr;
    bool write_failed = false;
};

namespace {

void on_error(HPDF_STATUS error, HPDF_STATUS detail, void *data) {
    StatementPdf *pdf = static_cast<StatementPdf *>(data);
    if (pdf->error == 0) {
        pdf->error = error;
        pdf->detail = detail;
    }
}

// The length of the UTF-8 sequence at `p` (1 to 4), or 0 when the bytes
// there are not one (a Latin-1 file's accented letter, say).
size_t utf8_length(std::string_view text, size_t at) {
    unsigned char lead = static_cast<unsigned char>(text[at]);
    size_t length = lead >= 0xF0 && lead < 0xF5 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (length == 0 || at + length > text.size())
        return 0;
    for (size_t i = 1; i < length; i++)
        if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80)
            return 0;
    return length;
}

// A text line as it stands on paper, one byte a column in the PDF font's
// Windows Latin 1 encoding: tabs to every eighth column, control
// characters blank, a UTF-8 letter of Latin 1 as itself and any other as
// "?", trailing blanks dropped.
std::string paper_line(std::string_view line) {
    // Nearly every line is plain ASCII text: copied as it is.
    size_t plain = 0;
    while (plain < line.size() && line[plain] >= ' ' && line[plain] < 0x7F)
        plain++;
    std::string out(line.substr(0, plain));
    for (size_t i = plain; i < line.size(); i++) {
        unsigned char c = static_cast<unsigned char>(line[i]);
        size_t length = c >= 0x80 ? utf8_length(line, i) : 0;
        if (c == '\t') {
            out.append(8 - out.size() % 8, ' ');
        } else if (c < ' ') {
            out += ' ';
        } else if (length == 2 && c == 0xC3) {
            out += static_cast<char>(0xC0 | (static_cast<unsigned char>(line[i + 1]) & 0x3F));
        } else if (length == 2 && c == 0xC2 && static_cast<unsigned char>(line[i + 1]) >= 0xA0) {
            out += line[i + 1];
        } else if (length > 0) {
            out += '?';
        } else {
            out += static_cast<char>(c);
        }
        i += length > 0 ? length - 1 : 0;
    }
    while (!out.empty() && out.back() == ' ')
        out.pop_back();
    return out;
}

// A statement's lines as they stand on paper; trailing blank lines dropped.
std::vector<std::string> statement_paper_lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        size_t end = text.find('\n');
        lines.push_back(paper_line(text.substr(0, end)));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}

void put_page(StatementPdf *pdf, const std::vector<std::string> &lines, size_t from, size_t to,
              const std::string *header) {
    HPDF_Page page = HPDF_AddPage(pdf->doc);
    HPDF_Page_SetSize(page, HPDF_PAGE_SIZE_LETTER, HPDF_PAGE_PORTRAIT);
    HPDF_Page_BeginText(page);
    HPDF_Page_SetTextLeading(page, kPdfLeading);
    HPDF_Font font = pdf->regular;
    HPDF_Page_SetFontAndSize(page, font, kPdfFontSize);
    HPDF_Page_MoveTextPos(page, kPdfLeftMargin, kPdfFirstBaseline + kPdfLeading);
    if (header != nullptr) {
        HPDF_Page_ShowTextNextLine(page, header->c_str());
        HPDF_Page_MoveToNextLine(page);
    }
    for (size_t i = from; i < to; i++) {
        const std::string &line = lines[i];
        HPDF_Font wanted =
            line.find("New balance:") != std::string::npos ? pdf->bold : pdf->regular;
        if (wanted != font) {
            font = wanted;
            HPDF_Page_SetFontAndSize(page, font, kPdfFontSize);
        }
        if (line.empty())
            HPDF_Page_MoveToNextLine(page);
        else
            HPDF_Page_ShowTextNextLine(page, line.c_str());
    }
    HPDF_Page_EndText(page);
}

HPDF_STATUS write_out(HPDF_Stream stream, const HPDF_BYTE *data, HPDF_UINT size) {
    StatementPdf *pdf = static_cast<StatementPdf *>(stream->attr);
    if (pdf->bytes != nullptr)
        pdf->bytes->append(reinterpret_cast<const char *>(data), size);
    else if (fwrite(data, 1, size, pdf->out) != size)
        pdf->write_failed = true;
    return pdf->write_failed ? HPDF_FILE_IO_ERROR : HPDF_OK;
}

// Ends the document, written out as it is saved: libharu's own save to a
// stream would hold all of a month's tens of megabytes in memory a second
// time, so its stream is replaced by one that passes the bytes on. False
// when the library failed anywhere (reported) or a write did (not).
bool save(StatementPdf *pdf) {
    if (pdf->error == 0) {
        pdf->doc->stream = HPDF_CallbackWriter_New(pdf->doc->mmgr, write_out, pdf);
        if (pdf->doc->stream != nullptr && HPDF_SaveToStream(pdf->doc) != HPDF_OK &&
            !pdf->write_failed && pdf->error == 0)
            pdf->error = HPDF_INVALID_STREAM;
    }
    if (pdf->error == 0 || pdf->write_failed)
        return pdf->error == 0 && !pdf->write_failed;
    printf("? Unable to make the PDF (error %04X, %u)\n", static_cast<unsigned>(pdf->error),
           static_cast<unsigned>(pdf->detail));
    return false;
}

} // namespace

StatementPdf *statement_pdf_new() {
    StatementPdf *pdf = new StatementPdf;
    pdf->doc = HPDF_New(on_error, pdf);
    if (pdf->doc != nullptr) {
        HPDF_SetCompressionMode(pdf->doc, HPDF_COMP_ALL);
        // One page node holds no more than 32,767 pages; a month's
        // statements are more, so they hang from nodes of a thousand.
        HPDF_SetPagesConfiguration(pdf->doc, 1000);
        HPDF_SetInfoAttr(pdf->doc, HPDF_INFO_CREATOR, "VARNOK");
        pdf->regular = HPDF_GetFont(pdf->doc, "Courier", "WinAnsiEncoding");
        pdf->bold = HPDF_GetFont(pdf->doc, "Courier-Bold", "WinAnsiEncoding");
    }
    if (pdf->doc == nullptr || pdf->error != 0) {
        printf("? Unable to start the PDF library (error %04X)\n",
               static_cast<unsigned>(pdf->error));
        if (pdf->doc != nullptr)
            HPDF_Free(pdf->doc);
        delete pdf;
        return nullptr;
    }
    return pdf;
}

int statement_pdf_add(StatementPdf *pdf, std::string_view text, std::string_view name) {
    std::vector<std::string> lines = statement_paper_lines(text);
    size_t first = std::min(lines.size(), static_cast<size_t>(kPdfLinesPerPage));
    put_page(pdf, lines, 0, first, nullptr);
    std::string header = paper_line(name);
    header += header.empty() ? "continued" : " continued";
    // A continuation page gives two lines to its header and the gap below.
    int pages = 1;
    for (size_t at = first; at < lines.size(); at += kPdfLinesPerPage - 2, pages++)
        put_page(pdf, lines, at, std::min(lines.size(), at + kPdfLinesPerPage - 2), &header);
    return pages;
}

bool statement_pdf_end(StatementPdf *pdf, std::string &bytes) {
    bytes.clear();
    pdf->bytes = &bytes;
    bool made = save(pdf);
    statement_pdf_free(pdf);
    return made;
}

bool statement_pdf_end(StatementPdf *pdf, FILE *out) {
    pdf->out = out;
    bool written = save(pdf);
    statement_pdf_free(pdf);
    return written;
}

void statement_pdf_free(StatementPdf *pdf) {
    HPDF_Free(pdf->doc);
    delete pdf;
}

bool statement_pdf(std::string_view text, std::string_view name, std::string &bytes) {
    StatementPdf *pdf = statement_pdf_new();
    if (pdf == nullptr)
        return false;
    statement_pdf_add(pdf, text, name);
    return statement_pdf_end(pdf, bytes);
}

std::string statement_name(std::string_view text, int heading_lines) {
    for (int i = 0; !text.empty(); i++) {
        size_t end = text.find('\n');
        std::string line = i >= std::max(9, heading_lines) ? paper_line(text.substr(0, end)) : "";
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        size_t start = line.find_first_not_of(' ');
        if (start == std::string::npos)
            continue;
        size_t gap = line.find("  ", start);
        return line.substr(start, gap == std::string::npos ? std::string::npos : gap - start);
    }
    return "";
}

int heading_line_count(const char *heading) {
    if (heading == nullptr)
        return 0;
    std::string_view text(heading);
    return static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1;
}
