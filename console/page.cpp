// See page.h. The assembler copies the file into the library.
#include "console/page.h"

asm(".pushsection .rodata\n"
    "vl_pd_console_page_begin: .incbin \"" PAGE_FILE "\"\n"
    "vl_pd_console_page_end: .popsection\n");

extern "C" {
[[gnu::visibility("hidden")]] extern const char vl_pd_console_page_begin[];
[[gnu::visibility("hidden")]] extern const char vl_pd_console_page_end[];
}

namespace console {

std::string_view page() {
    return {vl_pd_console_page_begin, static_cast<size_t>(vl_pd_console_page_end - vl_pd_console_page_begin)};
}

} // namespace console
