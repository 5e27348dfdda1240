// The statement's PDF copy for its e-mail: made from the captured text when
// the message goes out, so the PDF shows exactly what the text body shows.
#include <cctype>
#include <string>

#include "billing/billing.h"
#include "billing/statement_pdf.h"
#include "conio/iosubs.h"
#include "mail/email_capture.h"
#include "mail/smtp.h"

namespace {

// A name part as it can stand in a file name on any system.
std::string file_name_part(const char *text) {
    std::string out;
    for (const char *p = text; p != nullptr && *p != '\0'; p++) {
        unsigned char c = static_cast<unsigned char>(*p);
        out += isalnum(c) || c == '-' || c == '.' ? static_cast<char>(c) : '_';
    }
    return out;
}

std::string printed_name(const customer *c) {
    std::string name = c->firstname != nullptr ? c->firstname : "";
    if (c->lastname != nullptr && c->lastname[0] != '\0') {
        if (!name.empty())
            name += ' ';
        name += c->lastname;
    }
    return name;
}

} // namespace

void attach_statement_pdf(const customer *c, const char *period_end) {
    if (!db.email_attach_pdf)
        return;
    bool ok = false;
    long end_date = period_end != nullptr ? i_convertDateToTime(period_end, &ok) : 0;
    std::string end = i_convertTimeToString(ok ? end_date : db.curDate);
    std::string file_name =
        "statement-" + file_name_part(c->lastname) + "-" + file_name_part(end.c_str()) + ".pdf";
    std::string name = printed_name(c);
    o_emailAttach([file_name, name](const char *text, MailAttachment &file) {
        file.file_name = file_name;
        file.content_type = "application/pdf";
        return statement_pdf(text, name, file.data);
    });
}
