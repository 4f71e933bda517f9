// The page for browsers, from page.html.
#pragma once

#include <string_view>

#include "console/http.h"

namespace console {

std::string_view page();

// The page runs only what it has in itself, and asks only the console.
inline const Fields page_headers = {{"Content-Security-Policy",
                                     "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; "
                                     "connect-src 'self'; img-src data:; base-uri 'none'; frame-ancestors 'none'"}};

} // namespace console
