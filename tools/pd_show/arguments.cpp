// getopt_long() parses the options, in any position. Options that don't go together are refused before anything is
// loaded.
#include "pd_show/arguments.h"

#include <array>
#include <charconv>
#include <climits>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include <getopt.h>

#include "views/problem.h"
#include "vl_pd/version.h"

namespace pd_show {

using pd_views::Fault;
using pd_views::Format;
using pd_views::near_text;
using pd_views::Problem;

namespace {

constexpr char usage[] = R"(Usage: pd-show [OPTION]... COMMAND [ARGUMENT]...

Shows what the tables of the switch hold. With --agent, these are the tables of an agent that runs and has started a
console. Without it, loads the driver and the library into this process. The embedded driver starts empty there; --demo
and --routes fill it.

Commands:
  tables            all tables in the order of the pipeline, with keys, actions, counters and numbers of entries
  table NAME        one table's schema as a page
  entries [NAME [FIELD=VALUE]...]
                    the entries of one table, or of all. FIELD=VALUE keeps the entries that have the value in a field of
                    the key, in the form in which entries shows it, with or without its mask or length; action=NAME
                    those with an action
  profiles [NAME]   the action profiles with the numbers of their members and groups, or what one of them holds
  counters [NAME]   the counts and what they count, of one counter or table with a counter, or of all
  verify [NAME]     compares the entries of one table, or of all, with the hardware: a summary by table, then what
                    differs, with the entries as the driver's copy has them. Needs a driver that hands out placement
                    data as the embedded one does
  match TABLE [FIELD=VALUE]...
                    the entry that a packet takes in the hardware, why it does, and the entries that match it too, the
                    next best first. Fields have the names and forms that entries shows, without mask and length; those
                    that aren't named are 0. The lowest priority number wins. It counts as unsigned, so a negative one
                    is worse than any other. Without --agent, complains if the driver chooses another entry. With a
                    driver that doesn't say which it chooses, shows the one that wins by these rules
  route ADDRESS [VRF]
                    the entries that an address takes in the route tables, in the order in which --routes uses them,
                    and the next hop or the members of the ECMP group. Without VRF, in the one that --routes fills: 1,
                    or 2 with --demo; with --agent, in VRF 1
  serve             with --agent: offers the agent's console as a page for a browser, and /metrics for a monitor, until
                    it gets SIGINT or SIGTERM. Every user of this machine can ask it, whatever the socket's mode is

Options:
  --agent SOCKET    shows the switch of the agent whose console listens at this socket. Can't be combined with --driver,
                    --session, --device, --demo, --routes, --corrupt or --time; nor with --hw for counters, because
                    that changes the driver's copy of them
  --listen ADDRESS:PORT
                    where serve listens: an address of this machine and a port (127.0.0.1:8080); with port 0 the system
                    chooses one, and serve says which
  --allow-remote    lets serve listen at another address than a loopback one. Whoever reaches it sees all tables
  --driver LIB      a driver to load in place of the embedded one
  --session N       the session to use, with a driver in which this command can't open one
  --device N        the device, from 0 to 255 (0)
  --demo            brings up the example leaf switch first; needs the embedded driver
  --routes FILE     programs a list of routes first, one "PREFIX NEXT_HOP" per line ("-" is standard input); NEXT_HOP is
                    a decimal number from 0 to 4294967295, and a list has at most 1023 different ones. Needs the
                    embedded driver. With --demo, the routes have at most 823 different next hops, and go into VRF 2,
                    because the leaf switch has its own in VRF 1
  --hw              for entries, counters and one profile: reads the hardware, not the driver's copy of it
  --format FORMAT   text, json or value. In text, an entry is a line: fields that match anything are left out, and so
                    are masks of a whole field. In JSON it has all fields; what can't be read is an element with the
                    member "error", or is listed in "errors". value is only for entries: the library's value strings,
                    Python literals, after a comment with the table's name
  --time            shows on stderr what a dump of entries spent its time on
  --corrupt N       for match, route, and verify without a NAME, with --demo or --routes: first damages N random
                    entries in the hardware and lists them. An entry is lost, or one of its bits flips. Bits that the
                    table doesn't match, or beyond the width of an action's parameter, make no difference
  --seed S          the seed of the random damage (1)
  -h, --help        this text
  --version         the version

Exit status:
  0    everything was shown and nothing differs
  1    an entry differs, something couldn't be read or written, or the driver refused; or the driver and the
       library can't be used: one can't be loaded, or the driver refuses to register the library; or the agent
       doesn't answer
  2    wrong arguments, an unknown name or a bad list of routes
  127  the driver called a function that neither it nor its libraries have; the loader names it
)";

constexpr char version[] = "pd-show " VL_PD_VERSION "\n";

struct CommandRow {
    const char* name;
    CommandName command;
    int least_words;
    int most_words;
};

constexpr CommandRow commands[] = {{"tables", CommandName::tables, 0, 0},
                                   {"table", CommandName::table, 1, 1},
                                   {"entries", CommandName::entries, 0, INT_MAX},
                                   {"profiles", CommandName::profiles, 0, 1},
                                   {"counters", CommandName::counters, 0, 1},
                                   {"verify", CommandName::verify, 0, 1},
                                   {"match", CommandName::match, 1, INT_MAX},
                                   {"route", CommandName::route, 1, 2},
                                   {"serve", CommandName::serve, 0, 0}};

struct FormatRow {
    const char* name;
    Format format;
};

constexpr FormatRow formats[] = {{"text", Format::text}, {"json", Format::json}, {"value", Format::value}};

[[noreturn]] void refuse(const std::string& what) {
    throw Problem(Fault::bad_value, what + "; see pd-show --help");
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
    if (!meant.empty()) throw Problem(Fault::bad_value, what + meant);
    for (const std::string& each : all)
        what += (each == all.front() ? "; there are " : ", ") + each;
    refuse(what);
}

uint32_t number(const char* option, std::string_view text, uint32_t most = UINT32_MAX) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value > most)
        refuse(std::string(option) + " takes a number from 0 to " + std::to_string(most) + ", not " +
               std::string(text));
    return value;
}

struct OptionRow {
    const char* name;
    int has_value; // as getopt_long() takes it
    void (*take)(Arguments& read, const char* value);
};

constexpr OptionRow options[] = {
    {"agent", 1, [](Arguments& read, const char* value) { read.agent = value; }},
    {"listen", 1, [](Arguments& read, const char* value) { read.listen = value; }},
    {"allow-remote", 0, [](Arguments& read, const char*) { read.allow_remote = true; }},
    {"driver", 1, [](Arguments& read, const char* value) { read.driver = value; }},
    {"session", 1, [](Arguments& read, const char* value) { read.session = number("--session", value); }},
    {"device", 1, [](Arguments& read, const char* value) { read.device = number("--device", value, 255); }},
    {"demo", 0, [](Arguments& read, const char*) { read.demo = true; }},
    {"routes", 1, [](Arguments& read, const char* value) { read.routes = value; }},
    {"hw", 0, [](Arguments& read, const char*) { read.query.from_hw = true; }},
    {"format", 1,
     [](Arguments& read, const char* value) { read.query.format = choose(formats, "format", value).format; }},
    {"time", 0, [](Arguments& read, const char*) { read.time = true; }},
    {"corrupt", 1, [](Arguments& read, const char* value) { read.corrupt = number("--corrupt", value); }},
    {"seed", 1, [](Arguments& read, const char* value) { read.seed = number("--seed", value); }},
    {"help", 0, [](Arguments& read, const char*) { read.answer = usage; }},
    {"version", 0, [](Arguments& read, const char*) { read.answer = version; }},
};

constexpr int first_option = 256; // what getopt_long() returns for the first row; letters are below

constexpr auto long_options = [] {
    std::array<option, std::size(options) + 1> all{}; // the last one is empty
    for (size_t i = 0; i < std::size(options); ++i)
        all[i] = {options[i].name, options[i].has_value, nullptr, first_option + static_cast<int>(i)};
    return all;
}();

// getopt_long() sets `optopt` to an unknown letter, or to an option that takes no value and got one, or to 0 for an
// unknown long option. Only in the last case is `last`, the argument that it read last, surely the wrong one.
[[noreturn]] void refuse_option(const char* last) {
    if (optopt == 0) refuse("there is no option " + std::string(last));
    if (optopt < first_option) refuse(std::string("there is no option -") + static_cast<char>(optopt));
    refuse("--" + std::string(options[optopt - first_option].name) + " takes no value");
}

// The command and the words after it.
void take_words(Arguments& read, int count, char** words) {
    if (count == 0) refuse("there is no command");
    const CommandRow& chosen = choose(commands, "command", words[0]);
    read.command = chosen.command;
    if (count - 1 > chosen.most_words)
        refuse("what is " + std::string(words[count - 1]) + " after " + chosen.name + "?");
    if (count - 1 < chosen.least_words)
        refuse(std::string(chosen.name) +
               (read.command == CommandName::route ? " needs an address" : " needs the name of a table"));
    if (count > 1) read.query.name = words[1];
    for (int i = 2; i < count; ++i)
        read.query.words.emplace_back(words[i]);
}

// Options that the agent has decided already.
void check_beside_agent(const Arguments& read) {
    const std::pair<const char*, bool> others[] = {{"--driver", read.driver.has_value()},
                                                   {"--session", read.session.has_value()},
                                                   {"--device", read.device.has_value()},
                                                   {"--demo", read.demo},
                                                   {"--routes", read.routes.has_value()},
                                                   {"--corrupt", read.corrupt.has_value()},
                                                   {"--time", read.time}};
    for (const auto& [name, is_given] : others)
        if (is_given) refuse(std::string(name) + " doesn't go with --agent, which shows a switch that runs");
}

void check(const Arguments& read) {
    using enum CommandName;
    if (read.command == serve && !read.agent) refuse("serve needs --agent");
    if (read.command != serve && (read.listen || read.allow_remote))
        refuse("--listen and --allow-remote are only for serve");
    if (read.agent) check_beside_agent(read);
    if (read.command != entries && (read.query.format == Format::value || read.time))
        refuse("--format value and --time are only for entries");
    if (read.query.from_hw && read.command != entries && read.command != counters && read.command != profiles)
        refuse("--hw is only for entries, counters and profiles");
    if (read.query.from_hw && read.command == profiles && !read.query.name)
        refuse("--hw is for the members of one profile");
    if (read.agent && read.query.from_hw && read.command == counters)
        refuse("--hw doesn't go with counters of an agent: it would change the driver's copy of them");
    if (read.corrupt && read.command != verify && read.command != match && read.command != route)
        refuse("--corrupt is only for verify, match and route");
    if (read.corrupt && read.command == verify && read.query.name)
        refuse("--corrupt damages all tables, so verify compares all: it takes no name");
    if (read.corrupt && !read.demo && !read.routes) refuse("--corrupt needs --demo or --routes");
    if (read.seed && !read.corrupt) refuse("--seed is only for --corrupt");
}

} // namespace

Arguments read_arguments(int count, char** arguments) {
    Arguments read;
    opterr = 0;
    for (int found; (found = getopt_long(count, arguments, ":h", long_options.data(), nullptr)) != -1;) {
        if (found == ':') refuse("--" + std::string(options[optopt - first_option].name) + " needs a value");
        if (found == '?') refuse_option(arguments[optind - 1]);
        if (found == 'h')
            read.answer = usage;
        else
            options[found - first_option].take(read, optarg);
        if (read.answer != nullptr) return read;
    }
    take_words(read, count - optind, arguments + optind);
    check(read);
    return read;
}

} // namespace pd_show
