// Turns a command into a path of the console, and prints the answer.
#include "pd_show/agent.h"

#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <cjson/cJSON.h>

#include "console/http.h"
#include "console/trailers.h"
#include "pd_show/messages.h"
#include "pd_show/output.h"
#include "route_agent/printable.h"

namespace pd_show {
namespace {

using pd_views::Fault;
using pd_views::Problem;

// "/tables" and, if there is a name, "/tables/NAME" with what follows.
std::string path_of(const Arguments& arguments) {
    const std::string name = arguments.query.name ? "/" + console::percent_encoded(*arguments.query.name) : "";
    switch (arguments.command) {
    case CommandName::tables:
    case CommandName::table:
        return "/v1/tables" + name;
    case CommandName::entries:
        return name.empty() ? "/v1/entries" : "/v1/tables" + name + "/entries";
    case CommandName::profiles:
        return "/v1/profiles" + name;
    case CommandName::counters:
        return "/v1/counters" + name;
    case CommandName::verify:
        return name.empty() ? "/v1/verify" : "/v1/tables" + name + "/verify";
    case CommandName::match:
        return "/v1/tables" + name + "/lookup";
    case CommandName::route:
        return "/v1/routes" + name;
    case CommandName::serve:
        break;
    }
    return "/";
}

std::string target_of(const Arguments& arguments) {
    constexpr const char* formats[] = {"text", "json", "value"};
    std::string target = path_of(arguments) + "?format=" + formats[static_cast<size_t>(arguments.query.format)];
    if (arguments.query.from_hw) target += "&hw=1";
    for (const std::string& word : arguments.query.words) {
        if (arguments.command == CommandName::route) {
            target += "&vrf=" + console::percent_encoded(word);
            continue;
        }
        const size_t end = word.find('=');
        target += "&field." + console::percent_encoded(word.substr(0, end));
        if (end != std::string::npos) target += "=" + console::percent_encoded(word.substr(end + 1));
    }
    return target;
}

} // namespace

std::string message_of(const std::string& body) {
    cJSON* const json = cJSON_ParseWithLength(body.data(), body.size());
    const cJSON* const error = cJSON_GetObjectItemCaseSensitive(json, "error");
    const char* const text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(error, "message"));
    const std::string message = text != nullptr ? text : "the agent's answer makes no sense";
    cJSON_Delete(json);
    return message;
}

console::Answer ask(const std::string& socket, const std::string& target, const Body& body) {
    try {
        return console::get(socket, target, "", body, patience);
    } catch (const Problem&) { // of the output
        throw;
    } catch (const std::system_error& error) {
        throw Problem(Fault::failed, socket + ": " + error.code().message());
    } catch (const std::runtime_error& error) {
        throw Problem(Fault::failed, socket + ": " + error.what());
    }
}

int run_on_agent(const Arguments& arguments) {
    QueuedOutput out;
    std::string error_body;
    const auto take = [&](const console::Answer& head, std::string_view text) {
        if (head.status == 200)
            out.add(text);
        else
            error_body += text;
    };
    const console::Answer answer = ask(*arguments.agent, target_of(arguments), take);
    if (answer.status != 200) {
        const bool is_usage = answer.status == 400 || answer.status == 404;
        throw Problem(is_usage ? Fault::bad_value : Fault::failed, message_of(error_body));
    }
    out.end();
    int status = exit_failed;
    for (const auto& [name, value] : answer.trailers)
        if (name == console::complaint_trailer)
            std::cerr << "pd-show: " << route_agent::printable(value) << '\n';
        else if (name == console::status_trailer && value == "0")
            status = exit_shown;
    return status;
}

} // namespace pd_show
