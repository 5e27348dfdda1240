// A month's statements as one PDF file, streamed. libharu keeps a whole
// document in memory and compresses each page with a fresh zlib state,
// which a 20,000-member club's 60,000 pages cannot afford (about 11 KB and
// 0.3 ms a page before any text). The pages here are libharu's pages, set
// in the same standard Courier fonts at the same places, written out as
// soon as each is laid out through one reused compressor.
#include "billing/statement_pdf.h"

#include <cstring>
#include <vector>

#include <zlib.h>

struct StatementPdfFile {
    FILE *out = nullptr;
    long offset = 0;
    bool failed = false;
    std::vector<long> objects; // the file offset of object n + 1
    std::vector<int> pages;    // their object numbers
    std::string content;
    std::vector<unsigned char> packed;
    z_stream zip{};
};

namespace {

// Objects 1 to 4 are fixed; the page tree (2) is written last, when its
// pages are known.
enum { kCatalog = 1, kPageTree, kRegular, kBold, kFirstFree };

void put(StatementPdfFile *pdf, const void *data, size_t size) {
    if (fwrite(data, 1, size, pdf->out) != size)
        pdf->failed = true;
    pdf->offset += static_cast<long>(size);
}

void put(StatementPdfFile *pdf, const std::string &text) {
    put(pdf, text.data(), text.size());
}

void begin_object(StatementPdfFile *pdf, int number) {
    if (pdf->objects.size() < static_cast<size_t>(number))
        pdf->objects.resize(static_cast<size_t>(number), 0);
    pdf->objects[static_cast<size_t>(number) - 1] = pdf->offset;
    put(pdf, std::to_string(number) + " 0 obj\n");
}

void object(StatementPdfFile *pdf, int number, const std::string &body) {
    begin_object(pdf, number);
    put(pdf, body + "\nendobj\n");
}

void show(std::string &content, const std::string &line) {
    content += '(';
    size_t done = 0;
    for (size_t at; (at = line.find_first_of("()\\", done)) != std::string::npos; done = at + 1) {
        content.append(line, done, at - done);
        content += '\\';
        content += line[at];
    }
    content.append(line, done, std::string::npos);
    content += ")'\n";
}

void put_page(StatementPdfFile *pdf, const std::vector<std::string> &lines, size_t from, size_t to,
              const std::string *header) {
    char start[128];
    snprintf(start, sizeof start, "BT\n/F1 %g Tf\n%g TL\n%g %g Td\n", kPdfFontSize, kPdfLeading,
             kPdfLeftMargin, kPdfFirstBaseline + kPdfLeading);
    std::string &content = pdf->content;
    content = start;
    if (header != nullptr) {
        show(content, *header);
        content += "T*\n";
    }
    bool bold = false;
    for (size_t i = from; i < to; i++) {
        const std::string &line = lines[i];
        if (statement_line_emphasised(line) != bold) {
            bold = !bold;
            content += bold ? "/F2 " : "/F1 ";
            content += std::to_string(static_cast<int>(kPdfFontSize)) + " Tf\n";
        }
        if (line.empty())
            content += "T*\n";
        else
            show(content, line);
    }
    content += "ET\n";

    pdf->packed.resize(deflateBound(&pdf->zip, content.size()));
    deflateReset(&pdf->zip);
    pdf->zip.next_in = reinterpret_cast<Bytef *>(content.data());
    pdf->zip.avail_in = static_cast<uInt>(content.size());
    pdf->zip.next_out = pdf->packed.data();
    pdf->zip.avail_out = static_cast<uInt>(pdf->packed.size());
    if (deflate(&pdf->zip, Z_FINISH) != Z_STREAM_END)
        pdf->failed = true;
    size_t packed = pdf->packed.size() - pdf->zip.avail_out;

    int number = kFirstFree + 2 * static_cast<int>(pdf->pages.size());
    begin_object(pdf, number);
    put(pdf, "<< /Length " + std::to_string(packed) + " /Filter /FlateDecode >>\nstream\n");
    put(pdf, pdf->packed.data(), packed);
    put(pdf, "\nendstream\nendobj\n");
    object(pdf, number + 1,
           "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents " +
               std::to_string(number) + " 0 R /Resources << /Font << /F1 3 0 R /F2 4 0 R >> >> >>");
    pdf->pages.push_back(number + 1);
}

std::string font(const char *name) {
    return std::string("<< /Type /Font /Subtype /Type1 /BaseFont /") + name +
           " /Encoding /WinAnsiEncoding >>";
}

} // namespace

StatementPdfFile *statement_pdf_file_open(FILE *out) {
    StatementPdfFile *pdf = new StatementPdfFile;
    pdf->out = out;
    // The page streams are plain text, much alike: the fastest level packs
    // them nearly as well as the default.
    if (deflateInit(&pdf->zip, Z_BEST_SPEED) != Z_OK) {
        delete pdf;
        return nullptr;
    }
    put(pdf, "%PDF-1.4\n%\xe2\xe3\xcf\xd3\n");
    object(pdf, kCatalog, "<< /Type /Catalog /Pages 2 0 R >>");
    object(pdf, kRegular, font("Courier"));
    object(pdf, kBold, font("Courier-Bold"));
    return pdf;
}

int statement_pdf_file_add(StatementPdfFile *pdf, std::string_view text, std::string_view name) {
    return lay_out_statement(
        text, name, [pdf](const auto &lines, size_t from, size_t to, const std::string *header) {
            put_page(pdf, lines, from, to, header);
        });
}

bool statement_pdf_file_close(StatementPdfFile *pdf) {
    std::string kids;
    for (int page : pdf->pages)
        kids += std::to_string(page) + " 0 R\n";
    object(pdf, kPageTree,
           "<< /Type /Pages /Count " + std::to_string(pdf->pages.size()) + " /Kids [\n" + kids +
               "] >>");
    long xref = pdf->offset;
    put(pdf, "xref\n0 " + std::to_string(pdf->objects.size() + 1) + "\n0000000000 65535 f \n");
    char entry[32];
    for (long at : pdf->objects) {
        snprintf(entry, sizeof entry, "%010ld 00000 n \n", at);
        put(pdf, entry, strlen(entry));
    }
    put(pdf, "trailer\n<< /Size " + std::to_string(pdf->objects.size() + 1) +
                 " /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n");
    deflateEnd(&pdf->zip);
    bool written = !pdf->failed;
    delete pdf;
    return written;
}
