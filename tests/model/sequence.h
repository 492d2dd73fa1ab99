#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velunor::testing {

/// How the agent service treats the answer.
enum class ServiceBehaviour { absent, replies, silent };

/// Whether the shared access log is there when the prompt starts.
enum class LogFile { absent, present, impossible };

/// What the search node tells of the search path.
enum class SearchNode { doesNotOpen, tellsNothing, lacksThePath, hasNoTexts, tellsThePath };

/// What there is of the account's picture.
enum class Picture { none, fails, found };

/// Who sits at the console, as far as the system can tell.
enum class ConsoleUser { nobody, unknown, nameless, named };

/// What surrounds a prompt. Events may change it while the prompt is open.
struct World {
    /// The command line without the program's path; a prompt that got no input at all has none.
    std::optional<std::vector<std::string>> arguments;
    LogFile logFile = LogFile::absent;
    ConsoleUser consoleUser = ConsoleUser::named;
    Picture picture = Picture::none;
    /// What the token tool prints for a user, and for all others.
    std::map<std::string, std::string> tokenOutput{};
    std::string otherTokenOutput = "ENABLED\n";
    bool hasDirectorySession = true;
    SearchNode searchNode = SearchNode::tellsThePath;
    std::vector<std::string> searchPath{};
    /// The nodes that open.
    std::set<std::string> nodes{};
    /// Node, user and password of what is accepted.
    std::set<std::pair<std::string, std::pair<std::string, std::string>>> accepted{};
    ServiceBehaviour service = ServiceBehaviour::replies;

    bool operator==(const World&) const = default;
};

/// Name of the console user where there is one, and the others who are typed.
inline constexpr const char* consoleUserName = "alice";

/// One thing that happens to an open prompt.
struct Event {
    enum class Kind {
        typeUser,      // text
        typePassword,  // text
        endEditing,
        changeUser,
        clickUpdateNow,
        clickPostpone,
        waitSeconds,  // number
        finishPicture,
        terminate,
        tokenPrints,  // text: the output from now on for everybody
        nodeAccepts,  // text: node; the user and the password that stand in the fields
        nodeOpens,    // text: node
        nodeCloses,   // text: node
        directoryStops,
        searchNodeChanges,  // number: a SearchNode
    };

    Kind kind = Kind::waitSeconds;
    std::string text{};
    int number = 0;

    bool operator==(const Event&) const = default;
};

/// A prompt's surroundings and its whole life.
struct Sequence {
    World world;
    std::vector<Event> events;
};

/// What can be seen of a prompt: its window, its log, what it sent and how it ended.
struct Outcome {
    std::vector<std::string> log{};
    /// Each byte of the shared access log that this prompt has added.
    std::string accessLog{};
    /// Key and message of each request to the service.
    std::vector<std::pair<std::string, std::string>> requests{};
    std::optional<int> exitStatus{};
    bool activityEnded = false;
    /// Users whose token was asked for, and every password check, in order.
    std::vector<std::string> tokenChecks{};
    std::vector<std::string> passwordChecks{};

    // The window.
    std::string countdown{};
    std::vector<std::string> spokenCountdown{};
    std::int64_t secondsLeft = 900;
    std::string updateText{};
    std::string attempts{};
    bool attemptsHidden = false;
    bool postponeHidden = false;
    bool panelHidden = false;
    bool userRowHidden = false;
    bool userFieldHidden = true;
    bool noticeHidden = true;
    bool passwordBelowNotice = false;
    std::optional<bool> countdownBelowPanel{};
    std::string userLabel{};
    std::string user{};
    std::string password{};
    bool hasPicture = false;
    std::size_t shakes = 0;
    int attentionCalls = 0;
    std::optional<std::string> userWithoutToken{};

    bool operator==(const Outcome&) const = default;
};

/// How the property library prints them.
void showValue(const Event& event, std::ostream& out);
void showValue(const World& world, std::ostream& out);
void showValue(const Sequence& sequence, std::ostream& out);

/// The names of the parts that differ, each with both values; empty for equal ones.
[[nodiscard]] std::string difference(const Outcome& expected, const Outcome& actual);

}  // namespace velunor::testing
