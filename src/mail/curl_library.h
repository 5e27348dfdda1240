// libcurl, loaded when the first message goes to a relay. Linked in, it and
// the thirty libraries it brings (TLS, Kerberos, LDAP and more) would cost
// every start of the program several milliseconds, mail or no mail: more
// than a small club's bill run spends reading its customers.
#pragma once

#include <string>

#include <curl/curl.h>

struct CurlLibrary {
    decltype(&curl_global_init) global_init;
    decltype(&curl_easy_init) easy_init;
    decltype(&curl_easy_setopt) easy_setopt;
    decltype(&curl_easy_perform) easy_perform;
    decltype(&curl_easy_cleanup) easy_cleanup;
    decltype(&curl_easy_strerror) easy_strerror;
    decltype(&curl_slist_append) slist_append;
    decltype(&curl_slist_free_all) slist_free_all;
    decltype(&curl_mime_init) mime_init;
    decltype(&curl_mime_addpart) mime_addpart;
    decltype(&curl_mime_data) mime_data;
    decltype(&curl_mime_type) mime_type;
    decltype(&curl_mime_encoder) mime_encoder;
    decltype(&curl_mime_filename) mime_filename;
    decltype(&curl_mime_free) mime_free;
};

// The library, loaded and initialised by the first call; null when it
// cannot be loaded, with the loader's reason in `why`.
const CurlLibrary *curl_library(std::string &why);
