// pd-watch: watches what an agent asks of the driver, and works with recordings of that.
#include <cstdio>
#include <exception>

#include <vl_pd/version.h>

#include "tools/pd_watch/commands.h"
#include "watch/kinds.h"

namespace {

constexpr char usage[] = R"(Usage: pd-watch [OPTION]... [--] COMMAND [ARGUMENT]...
       pd-watch show FILE [--failed] [--table NAME]
       pd-watch replay FILE [--driver LIB] [--session N] [--until N] [--console SOCKET]
       pd-watch diff FILE FILE

Watches what an agent asks of the driver. Becomes the command, with the same process id, and puts a layer between the
control library and the driver: it checks the calls, records them, or counts them. The agent gets the driver's answers
as they are, and the exit status is the command's. Processes that the command starts are watched, too.

Commands:
  show FILE         a recording for people, one line a call, in a pager on a terminal. --failed shows only calls that
                    the driver refused, --table those of one table, profile or resource
  replay FILE       makes the calls of a recording again, in order, on the embedded driver. Opens its sessions and adds
                    its devices, and gives new handles for old ones. Ends at the first call whose status or answer
                    differs, and shows both: status 1. Callbacks do nothing there, and there are no packets: answers
                    that only packets change are counted, not compared
  diff FILE FILE    compares two recordings, and shows the first call in which they part: status 1. Times, threads and
                    the numbers of handles may differ

Options for a command that is watched:
  --check           tells mistakes on stderr: calls that can't be meant, with the place in the agent's code
  --strict          as --check, and the exit status is 3 if there was a mistake
  --leftovers       as --check, and entries, members and groups that are there at the end are mistakes
  --off KIND,...    leaves kinds of mistakes out
  --only TABLE,...  checks and records only calls of these tables, profiles and resources
  --record FILE     records all calls as JSON, a line for each. If the process is killed, its last lines are in
                    FILE.tail; keep it beside FILE. A second process that calls the driver has FILE.PID
  --summary         tells at the end, and when the process gets SIGUSR1, how often each function was called for each
                    table, what was refused, how long the driver took, and what is alive
  --report FILE     where --check and --summary write, in place of stderr
  --format FORMAT   of the report: text, or json with an object on each line

Kinds of mistakes:
)";

constexpr char more_usage[] = R"(
Options of replay:
  --until N         stops after the call with this number
  --driver LIB      another driver. It has its devices already, and --session names a session that is open there
  --session N       the session for all sessions of the recording
  --console SOCKET  stays up afterwards, until SIGINT or SIGTERM, so that pd-show --agent SOCKET shows the tables

  -h, --help        this text
  --version         the version
)";

void print_usage() {
    fputs(usage, stdout);
    for (const pd_watch::MistakeRow& row : pd_watch::mistake_rows)
        printf("  %-16s  %s\n", row.name, row.sentence);
    fputs(more_usage, stdout);
}

} // namespace

int main(int count, char** arguments) {
    const pd_watch::Words words(arguments + 1, arguments + count);
    try {
        if (words.empty()) throw pd_watch::Mistake("name a command");
        if (words[0] == "-h" || words[0] == "--help") {
            print_usage();
            return 0;
        }
        if (words[0] == "--version") {
            puts("pd-watch " VL_PD_VERSION);
            return 0;
        }
        const pd_watch::Words rest(words.begin() + 1, words.end());
        if (words[0] == "show") return pd_watch::show(rest);
        if (words[0] == "replay") return pd_watch::replay(rest);
        if (words[0] == "diff") return pd_watch::diff(rest);
        return pd_watch::watch(words);
    } catch (const pd_watch::Mistake& mistake) {
        fprintf(stderr, "pd-watch: %s\n", mistake.what());
        fputs("Try pd-watch --help.\n", stderr);
        return 2;
    } catch (const std::exception& error) {
        fprintf(stderr, "pd-watch: %s\n", error.what());
        return 2;
    }
}
