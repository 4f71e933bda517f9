// Shows the switch of an agent whose console listens at a socket.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "console/http.h"
#include "pd_show/arguments.h"

namespace pd_show {

constexpr std::chrono::minutes patience{5}; // the agent may be busy

// Asks the console. Throws a Problem if no sound answer comes.
using Body = std::function<void(const console::Answer&, std::string_view)>;
console::Answer ask(const std::string& socket, const std::string& target, const Body& body);

// The words of an answer that is an error.
std::string message_of(const std::string& body);

// Asks the console, which makes the same text and JSON. Returns the exit status. Throws a Problem.
int run_on_agent(const Arguments& arguments);

// Offers the console to a browser or a monitor until a signal comes. Returns the exit status. Throws a Problem.
int serve(const Arguments& arguments);

} // namespace pd_show
