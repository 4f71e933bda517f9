// Options by getopt_long, which takes them in any order and place; what doesn't go together is refused here, before
// anything is loaded.
#include "pd_show/arguments.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <getopt.h>

#include "pd_show/near_names.h"
#include "pd_show/problem.h"

namespace pd_show {

const char usage[] = R"(Usage: pd-show [OPTION]... COMMAND [NAME]

Shows what the tables of the switch hold. The driver and the library are loaded into this process; the embedded driver
starts empty there, so that --demo or --routes gives it something to show.

Commands:
  tables            all tables in the order of the pipeline, with keys, actions, counters and numbers of entries
  table NAME        one table's schema as a page
  entries [NAME]    the entries of one table, or of all
  counters [NAME]   the counts and what they count, of one counter or table with a counter, or of all
  verify [NAME]     compares the entries of one table, or of all, with the hardware: a summary by table, then what
                    differs, with the entries as the driver's copy has them. Takes a driver that hands out placement
                    data as the embedded one does

Options:
  --driver LIB      a driver to load in place of the embedded one
  --session N       the session to work in, with a driver in which this command can't open one
  --device N        the device, from 0 to 255 (0)
  --demo            brings up the example leaf switch first; needs the embedded driver
  --routes FILE     programs a list of routes first, one "PREFIX NEXT_HOP" per line ("-" is standard input); NEXT_HOP is
                    a decimal number from 0 to 4294967295, and a list has at most 1023 different ones. Needs the
                    embedded driver. With --demo the routes stand beside the leaf switch: in VRF 2, where its own are in
                    VRF 1, and with at most 199 different next hops
  --hw              for entries and counters: reads the hardware, not the driver's copy of it
  --format FORMAT   of entries:
                      text   a line for each; fields that match anything are left out, and so are masks of a whole field
                      json   one array of objects, with all fields
                      value  the library's value strings, Python literals, behind a comment with the table's name
  --time            tells on stderr where the time of a dump of entries went
  --corrupt N       for verify of all tables, without a NAME: first loses, or flips a random bit of, N entries in the
                    hardware, and tells which; with --demo or --routes. Bits that the table doesn't match, or behind
                    the width of an action's parameter, make no difference
  --seed S          chooses other damage (1)
  -h, --help        this text
  --version         the version

Exit status:
  0    all was shown and nothing differs
  1    an entry differs, something couldn't be read or written, or the driver refused; or driver and library can't be
       used: one of them can't be loaded, or the driver refuses to register the library
  2    wrong arguments, an unknown name or a bad list of routes
  127  the driver called a function that neither it nor its libraries have; the loader names it
)";

const char version[] = "pd-show " PD_SHOW_VERSION "\n";

namespace {

struct CommandName {
    const char* name;
    Command command;
    enum class Names { none, optional, needed } names;
};

constexpr CommandName commands[] = {
    {"tables", Command::tables, CommandName::Names::none},
    {"table", Command::table, CommandName::Names::needed},
    {"entries", Command::entries, CommandName::Names::optional},
    {"counters", Command::counters, CommandName::Names::optional},
    {"verify", Command::verify, CommandName::Names::optional},
};

struct FormatName {
    const char* name;
    Format format;
};

constexpr FormatName formats[] = {{"text", Format::text}, {"json", Format::json}, {"value", Format::value}};

[[noreturn]] void refuse(const std::string& what) {
    throw Problem(exit_bad_usage, what + "; pd-show --help tells more");
}

// The row with this name.
template <class Row, size_t count>
const Row& choose(const Row (&rows)[count], const char* kind, const std::string& name) {
    std::vector<std::string> all;
    for (const Row& row : rows) {
        if (name == row.name) return row;
        all.emplace_back(row.name);
    }
    std::string what = "there is no " + std::string(kind) + " " + name;
    const std::string meant = near_text(name, all);
    if (!meant.empty()) throw Problem(exit_bad_usage, what + meant);
    for (const std::string& each : all)
        what += (each == all.front() ? "; there are " : ", ") + each;
    refuse(what);
}

uint32_t number(const char* option, std::string_view text, uint32_t most) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value > most)
        refuse(std::string(option) + " takes a number from 0 to " + std::to_string(most) + ", not " +
               std::string(text));
    return value;
}

// Behind letters, in the order of `options`.
enum Option { driver = 256, session, device, demo, routes, hw, format, time, corrupt, seed, help, show_version };

constexpr option options[] = {
    {"driver", required_argument, nullptr, driver},
    {"session", required_argument, nullptr, session},
    {"device", required_argument, nullptr, device},
    {"demo", no_argument, nullptr, demo},
    {"routes", required_argument, nullptr, routes},
    {"hw", no_argument, nullptr, hw},
    {"format", required_argument, nullptr, format},
    {"time", no_argument, nullptr, time},
    {"corrupt", required_argument, nullptr, corrupt},
    {"seed", required_argument, nullptr, seed},
    {"help", no_argument, nullptr, help},
    {"version", no_argument, nullptr, show_version},
    {nullptr, 0, nullptr, 0},
};

// `last` is the argument that getopt_long went through last. It may be one with several letters, of which `optopt` is
// the wrong one, or a known option's that has a value too many.
[[noreturn]] void refuse_option(const char* last) {
    if (optopt == 0) refuse("there is no option " + std::string(last));
    if (optopt < driver) refuse(std::string("there is no option -") + static_cast<char>(optopt));
    refuse("--" + std::string(options[optopt - driver].name) + " takes no value");
}

void take_option(Arguments& read, int found) {
    switch (found) {
    case driver:
        read.driver = optarg;
        break;
    case session:
        read.session = number("--session", optarg, UINT32_MAX);
        break;
    case device:
        read.device = number("--device", optarg, 255);
        break;
    case demo:
        read.demo = true;
        break;
    case routes:
        read.routes = optarg;
        break;
    case hw:
        read.from_hw = true;
        break;
    case format:
        read.format = choose(formats, "format", optarg).format;
        break;
    case time:
        read.time = true;
        break;
    case corrupt:
        read.corrupt = number("--corrupt", optarg, UINT32_MAX);
        break;
    case seed:
        read.seed = number("--seed", optarg, UINT32_MAX);
        break;
    }
}

// The command and its name.
void take_words(Arguments& read, int count, char** words) {
    if (count == 0) refuse("there is no command");
    const CommandName& chosen = choose(commands, "command", words[0]);
    read.command = chosen.command;
    const int names = count - 1;
    if (names > (chosen.names == CommandName::Names::none ? 0 : 1))
        refuse("what is " + std::string(words[count - 1]) + " behind " + chosen.name + "?");
    if (names == 1) read.name = words[1];
    if (names == 0 && chosen.names == CommandName::Names::needed) refuse(std::string(chosen.name) + " needs a name");
}

void check(const Arguments& read) {
    if (read.command != Command::entries && (read.format || read.time))
        refuse("--format and --time are for entries alone");
    if (read.command != Command::entries && read.command != Command::counters && read.from_hw)
        refuse("--hw is for entries and counters alone");
    if (read.corrupt && read.command != Command::verify) refuse("--corrupt is for verify alone");
    if (read.corrupt && read.name) refuse("--corrupt damages all tables, and all are compared then: it takes no name");
    if (read.corrupt && !read.demo && !read.routes) refuse("--corrupt needs --demo or --routes");
    if (read.seed && !read.corrupt) refuse("--seed is for --corrupt alone");
}

} // namespace

Arguments read_arguments(int count, char** arguments) {
    Arguments read;
    opterr = 0;
    for (int found; (found = getopt_long(count, arguments, ":h", options, nullptr)) != -1;) {
        if (found == help || found == 'h') return {};
        if (found == show_version) {
            read.command = Command::version;
            return read;
        }
        if (found == ':') refuse("--" + std::string(options[optopt - driver].name) + " needs a value");
        if (found == '?') refuse_option(arguments[optind - 1]);
        take_option(read, found);
    }
    take_words(read, count - optind, arguments + optind);
    check(read);
    return read;
}

} // namespace pd_show
