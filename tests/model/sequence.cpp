#include "tests/model/sequence.h"

#include <rapidcheck.h>

#include <array>
#include <sstream>

namespace velunor::testing {
namespace {

template <class Value>
void show(const Value& value, std::ostream& out) {
    rc::show(value, out);
}

template <class Value>
void show(const std::optional<Value>& value, std::ostream& out) {
    if (value) {
        rc::show(*value, out);
    } else {
        out << "none";
    }
}

}  // namespace

void showValue(const Event& event, std::ostream& out) {
    constexpr std::array names{"type user",
                               "type password",
                               "end editing",
                               "change user",
                               "click Update Now",
                               "click Postpone",
                               "wait for seconds",
                               "finish the picture",
                               "terminate",
                               "the token tool prints from now on",
                               "what is typed becomes right at the node",
                               "there is now the node",
                               "there is no more the node",
                               "the directory stops",
                               "the search node is now of kind"};
    out << "\n  " << names.at(static_cast<std::size_t>(event.kind)) << ' ';
    rc::show(event.text, out);
    out << ' ' << event.number;
}

void showValue(const World& world, std::ostream& out) {
    const auto line = [&](const char* name, const auto& value) {
        out << "\n  " << name << ": ";
        rc::show(value, out);
    };
    line("arguments", world.arguments.value_or(std::vector<std::string>{"(no input)"}));
    line("log file", static_cast<int>(world.logFile));
    line("console user", static_cast<int>(world.consoleUser));
    line("picture", static_cast<int>(world.picture));
    line("token tool prints", world.tokenOutput);
    line("for others", world.otherTokenOutput);
    line("directory", world.hasDirectorySession);
    line("search node", static_cast<int>(world.searchNode));
    line("search path", world.searchPath);
    line("nodes", world.nodes);
    line("accepted", world.accepted);
    line("service", static_cast<int>(world.service));
}

void showValue(const Sequence& sequence, std::ostream& out) {
    out << "world:";
    showValue(sequence.world, out);
    out << "\nevents:";
    for (const Event& event : sequence.events) {
        showValue(event, out);
    }
}

std::string difference(const Outcome& expected, const Outcome& actual) {
    std::ostringstream out;
    const auto compare = [&](const char* name, auto member) {
        if (expected.*member != actual.*member) {
            out << name << "\n  expected ";
            show(expected.*member, out);
            out << "\n  but was  ";
            show(actual.*member, out);
            out << '\n';
        }
    };
    compare("log", &Outcome::log);
    compare("accessLog", &Outcome::accessLog);
    compare("requests", &Outcome::requests);
    compare("exitStatus", &Outcome::exitStatus);
    compare("activityEnded", &Outcome::activityEnded);
    compare("tokenChecks", &Outcome::tokenChecks);
    compare("passwordChecks", &Outcome::passwordChecks);
    compare("countdown", &Outcome::countdown);
    compare("spokenCountdown", &Outcome::spokenCountdown);
    compare("secondsLeft", &Outcome::secondsLeft);
    compare("updateText", &Outcome::updateText);
    compare("attempts", &Outcome::attempts);
    compare("attemptsHidden", &Outcome::attemptsHidden);
    compare("postponeHidden", &Outcome::postponeHidden);
    compare("panelHidden", &Outcome::panelHidden);
    compare("userRowHidden", &Outcome::userRowHidden);
    compare("userFieldHidden", &Outcome::userFieldHidden);
    compare("noticeHidden", &Outcome::noticeHidden);
    compare("passwordBelowNotice", &Outcome::passwordBelowNotice);
    compare("countdownBelowPanel", &Outcome::countdownBelowPanel);
    compare("userLabel", &Outcome::userLabel);
    compare("user", &Outcome::user);
    compare("password", &Outcome::password);
    compare("hasPicture", &Outcome::hasPicture);
    compare("shakes", &Outcome::shakes);
    compare("attentionCalls", &Outcome::attentionCalls);
    compare("userWithoutToken", &Outcome::userWithoutToken);
    // A part that this table forgets must not go unseen.
    if (out.str().empty() && expected != actual) {
        return "something else";
    }
    return out.str();
}

}  // namespace velunor::testing
