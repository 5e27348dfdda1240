#include "mail/curl_library.h"

#include <dlfcn.h>

namespace {

struct Loaded {
    bool tried = false;
    bool ok = false;
    std::string why;
    CurlLibrary functions{};
};

template <class F> bool bind(void *handle, const char *name, F &function, std::string &why) {
    function = reinterpret_cast<F>(dlsym(handle, name));
    if (function == nullptr && why.empty())
        why = std::string("no ") + name + " in " + VARNOK_CURL_SONAME;
    return function != nullptr;
}

void load(Loaded &l) {
    void *handle = dlopen(VARNOK_CURL_SONAME, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char *error = dlerror();
        l.why = error != nullptr ? error : VARNOK_CURL_SONAME;
        return;
    }
    CurlLibrary &f = l.functions;
    bool ok = bind(handle, "curl_global_init", f.global_init, l.why);
    ok = bind(handle, "curl_easy_init", f.easy_init, l.why) && ok;
    ok = bind(handle, "curl_easy_setopt", f.easy_setopt, l.why) && ok;
    ok = bind(handle, "curl_easy_perform", f.easy_perform, l.why) && ok;
    ok = bind(handle, "curl_easy_cleanup", f.easy_cleanup, l.why) && ok;
    ok = bind(handle, "curl_easy_strerror", f.easy_strerror, l.why) && ok;
    ok = bind(handle, "curl_slist_append", f.slist_append, l.why) && ok;
    ok = bind(handle, "curl_slist_free_all", f.slist_free_all, l.why) && ok;
    ok = bind(handle, "curl_mime_init", f.mime_init, l.why) && ok;
    ok = bind(handle, "curl_mime_addpart", f.mime_addpart, l.why) && ok;
    ok = bind(handle, "curl_mime_data", f.mime_data, l.why) && ok;
    ok = bind(handle, "curl_mime_type", f.mime_type, l.why) && ok;
    ok = bind(handle, "curl_mime_encoder", f.mime_encoder, l.why) && ok;
    ok = bind(handle, "curl_mime_filename", f.mime_filename, l.why) && ok;
    ok = bind(handle, "curl_mime_free", f.mime_free, l.why) && ok;
    // The library stays loaded for the rest of the run either way.
    if (ok && f.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        l.why = "the mail library did not start";
        ok = false;
    }
    l.ok = ok;
}

} // namespace

const CurlLibrary *curl_library(std::string &why) {
    static Loaded loaded;
    if (!loaded.tried) {
        loaded.tried = true;
        load(loaded);
    }
    why = loaded.why;
    return loaded.ok ? &loaded.functions : nullptr;
}
