// Shows a recording to people.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "tools/pd_watch/call_text.h"
#include "tools/pd_watch/commands.h"
#include "tools/pd_watch/recording.h"

namespace pd_watch {
namespace {

const char* variable(const char* name) {
    const char* const value = getenv(name);
    return value != nullptr ? value : "";
}

// Where lines go: to a pager if people look at a terminal.
class Pages {
public:
    Pages() {
        const char* const pager = *variable("PAGER") != 0 ? variable("PAGER") : "less -R -F -X";
        if (!is_terminal() || std::strcmp(pager, "cat") == 0) return;
        setenv("LESS", "RFX", 0);
        std::signal(SIGPIPE, SIG_IGN); // people leave the pager when they have seen enough
        pipe_ = popen(pager, "w");
    }
    ~Pages() {
        if (pipe_ != nullptr) pclose(pipe_);
    }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    static bool is_terminal() {
        return isatty(STDOUT_FILENO) == 1;
    }
    // Returns false if nobody reads on.
    bool put(const std::string& line) {
        FILE* const to = pipe_ != nullptr ? pipe_ : stdout;
        return fwrite(line.data(), 1, line.size(), to) == line.size() && putc('\n', to) != EOF;
    }
    bool flush() {
        return fflush(pipe_ != nullptr ? pipe_ : stdout) == 0;
    }
    bool has_pager() const {
        return pipe_ != nullptr;
    }

private:
    FILE* pipe_ = nullptr;
};

} // namespace

int show(const Words& words) {
    bool failed_only = false;
    std::string file;
    std::string table;
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--failed") {
            failed_only = true;
        } else if (words[i] == "--table") {
            if (++i == words.size()) throw Mistake("--table needs a value");
            table = words[i];
        } else if (words[i].starts_with("-") || !file.empty()) {
            throw Mistake("show takes a file, --failed and --table NAME, not " + words[i]);
        } else {
            file = words[i];
        }
    }
    if (file.empty()) throw Mistake("name a recording to show");
    const Pipeline pipeline;
    if (!table.empty() && pipeline.table_named(table) == nullptr) throw Mistake("there is no table " + table);
    Recording recording(file);
    const CallText text(pipeline, Pages::is_terminal() && *variable("NO_COLOR") == 0,
                        recording.is_of_embedded_driver());
    {
        Pages pages;
        bool reads_on = true;
        for (Json call = recording.next(); call != nullptr && reads_on; call = recording.next()) {
            if (failed_only && number_in(call.get(), "status") == 0) continue;
            const cJSON* const name = member(call.get(), "table");
            if (!table.empty() && !(cJSON_IsString(name) && table == name->valuestring)) continue;
            reads_on = pages.put(text.line(call.get()));
        }
        if (!(pages.flush() && reads_on) && !pages.has_pager()) throw std::runtime_error("the output can't be written");
    }
    recording.tell_cut();
    return 0;
}

} // namespace pd_watch
