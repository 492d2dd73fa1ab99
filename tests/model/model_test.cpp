// Random lives of a prompt, each as the model tells it and as the program's own controller lives
// it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/driven_prompt.h"
#include "tests/model/prompt_model.h"
#include "tests/model/sequence.h"

namespace velunor::testing {
namespace {

using rc::gen::elementOf;
using rc::gen::exec;
using rc::gen::just;
using rc::gen::weightedElement;
using rc::gen::weightedOneOf;

using Texts = std::vector<std::string>;

const Texts users{"alice", "bob", "", "Zo\u00EB \"x\"\\y\n", "ENABLED"};
const Texts passwords{"right", "", "wr/ong", "\"\\\n", "p\xff"};
const Texts nodes{"/Local/Default", "/LDAPv3/a", "/LDAPv3/b", "/local/default"};
const Texts outputs{"ENABLED\n",
                    "Secure token is DISABLED for user\n",
                    "Unknown user\n",
                    "enabled",
                    "Unknown user ENABLED",
                    "",
                    "unknown user",
                    "xENABLEDx\nUnknown user"};

/// A number from 0 on, evenly, however long the life is to be.
rc::Gen<int> below(int end) {
    return rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0, end));
}

rc::Gen<Texts> commandLines() {
    return exec([] {
        Texts arguments{*weightedElement<std::string>(
                            {{4, "OSUpdateWithCred"}, {2, "OSUpdate"}, {1, "osupdatewithcred"}}),
                        *elementOf(Texts{"Debian 12.9", "", "a \"b\""}),
                        *elementOf(Texts{"false", "true", "False", ""}),
                        *weightedElement<std::string>({{2, "1"},
                                                       {2, "2"},
                                                       {1, "0"},
                                                       {1, "+3"},
                                                       {1, "-1"},
                                                       {1, "15"},
                                                       {1, "007"},
                                                       {1, "x"}}),
                        *elementOf(Texts{"false", "true", ""}),
                        *elementOf(Texts{"2", "1", "0", "-1", "", "x"})};
        // With fewer than four there is nothing to be shown; four or five are a programming error.
        if (*below(30) == 0) {
            arguments.resize(static_cast<std::size_t>(*below(4)));
        }
        return arguments;
    });
}

rc::Gen<World> worlds() {
    return exec([] {
        World world;
        if (*below(10) != 0) {
            world.arguments = *commandLines();
        }
        world.logFile =
            *elementOf(std::vector{LogFile::absent, LogFile::present, LogFile::impossible});
        world.consoleUser = *weightedElement<ConsoleUser>({{5, ConsoleUser::named},
                                                           {1, ConsoleUser::nobody},
                                                           {1, ConsoleUser::unknown},
                                                           {1, ConsoleUser::nameless}});
        world.picture = *elementOf(std::vector{Picture::none, Picture::fails, Picture::found});
        for (const std::string& user : *rc::gen::container<Texts>(elementOf(users))) {
            world.tokenOutput[user] = *elementOf(outputs);
        }
        world.otherTokenOutput = *elementOf(outputs);
        world.hasDirectorySession = *below(10) != 0;
        world.searchNode = *weightedElement<SearchNode>({{6, SearchNode::tellsThePath},
                                                         {1, SearchNode::doesNotOpen},
                                                         {1, SearchNode::tellsNothing},
                                                         {1, SearchNode::lacksThePath},
                                                         {1, SearchNode::hasNoTexts}});
        world.searchPath = *rc::gen::container<Texts>(elementOf(nodes));
        world.nodes = *rc::gen::container<std::set<std::string>>(elementOf(nodes));
        for (const std::string& node : *rc::gen::container<Texts>(elementOf(nodes))) {
            world.accepted.insert({node, {*elementOf(users), *elementOf(passwords)}});
        }
        world.service = *weightedElement<ServiceBehaviour>({{4, ServiceBehaviour::replies},
                                                            {1, ServiceBehaviour::absent},
                                                            {1, ServiceBehaviour::silent}});
        return world;
    });
}

rc::Gen<Event> eventOf(Event::Kind kind) {
    using Kind = Event::Kind;
    const auto withText = [kind](const Texts& texts) {
        return rc::gen::map(elementOf(texts), [kind](std::string text) {
            return Event{kind, std::move(text)};
        });
    };
    const auto withNumberBelow = [kind](int end) {
        return rc::gen::map(below(end), [kind](int number) { return Event{kind, {}, number}; });
    };
    switch (kind) {
        case Kind::typeUser:
            return withText(users);
        case Kind::typePassword:
            return withText(passwords);
        case Kind::tokenPrints:
            return withText(outputs);
        case Kind::nodeAccepts:
        case Kind::nodeOpens:
        case Kind::nodeCloses:
            return withText(nodes);
        case Kind::waitSeconds:
            // Now and then as long as a prompt without any input stays open.
            return weightedOneOf<Event>(
                {{20, withNumberBelow(130)}, {2, just(Event{kind, {}, 900})}});
        case Kind::searchNodeChanges:
            return withNumberBelow(5);
        default:
            return just(Event{kind});
    }
}

rc::Gen<Event> events() {
    using Kind = Event::Kind;
    return weightedOneOf<Event>({{6, eventOf(Kind::typeUser)},
                                 {6, eventOf(Kind::typePassword)},
                                 {5, eventOf(Kind::endEditing)},
                                 {2, eventOf(Kind::changeUser)},
                                 {6, eventOf(Kind::clickUpdateNow)},
                                 {2, eventOf(Kind::clickPostpone)},
                                 {4, eventOf(Kind::waitSeconds)},
                                 {2, eventOf(Kind::finishPicture)},
                                 {1, eventOf(Kind::terminate)},
                                 {2, eventOf(Kind::tokenPrints)},
                                 {6, eventOf(Kind::nodeAccepts)},
                                 {1, eventOf(Kind::nodeOpens)},
                                 {1, eventOf(Kind::nodeCloses)},
                                 {1, eventOf(Kind::directoryStops)},
                                 {1, eventOf(Kind::searchNodeChanges)}});
}

/// The row of the decision tables that a life ended by.
std::string endOf(const Outcome& outcome) {
    if (!outcome.exitStatus) {
        return outcome.activityEnded ? "terminated" : "open";
    }
    const std::size_t end = outcome.accessLog.rfind("\t\t");
    if (*outcome.exitStatus != 0 || end == std::string::npos) {
        return "too few arguments";
    }
    const std::size_t reason = outcome.accessLog.rfind("\t\t", end - 1);
    const std::size_t answer = outcome.accessLog.rfind("\t\t", reason - 1) + 2;
    const std::string decision = outcome.accessLog.substr(answer, reason - answer);
    const bool namesNobody = decision.ends_with(" - NA");
    return decision.substr(0, decision.find(' ')) + (namesNobody ? "" : " naming somebody") + ": " +
           outcome.accessLog.substr(reason + 2, end - reason - 2);
}

/// What a life met on its way, as its log tells it.
const Texts landmarks{"Local Validation Success",
                      "Domain Validation Success",
                      "Failed to validate credentials alice",
                      "Secure Token not enabled for bob",
                      "Couln't Get Default Session",
                      "ODNode Node Creatation Failed For Search",
                      "Node Details Cannnot Converted to ArOfStr",
                      "Error encoding data: The text of \"passwd\" is not valid UTF-8.",
                      "Reply Received OK"};

// How many lives is told by the environment variable RC_PARAMS. One that differs is made as short
// as can be and printed.
TEST(Model, EachPromptDoesWhatTheDecisionTablesSay) {
    // A zone with an odd difference.
    setenv("TZ", "AAA-3:30", 1);
    std::map<std::string, int> ends;
    std::set<std::string> met;
    EXPECT_TRUE(rc::check([&] {
        const Sequence sequence{*worlds(), *rc::gen::container<std::vector<Event>>(events())};
        const Outcome expected = expectedOutcome(sequence);
        ++ends[endOf(expected)];
        met.insert(expected.log.begin(), expected.log.end());
        const std::string wrong = difference(expected, drivenOutcome(sequence));
        if (!wrong.empty()) {
            RC_FAIL(rc::toString(sequence) + "\n" + wrong);
        }
    }));
    int lives = 0;
    for (const auto& [row, count] : ends) {
        std::cout << count << "  " << row << '\n';
        lives += count;
    }
    // A few need not meet everything.
    constexpr int enough = 2000;
    if (lives < enough) {
        return;
    }
    // Each row was met, and so the lives say something about it.
    for (const char* row :
         {"open", "terminated", "too few arguments", "proceed: Update Now Clicked",
          "proceed naming somebody: Update Now Clicked", "proceed: Time ran out - Proceeding",
          "postpone: Postpone Clicked", "postpone naming somebody: Postpone Clicked",
          "postpone: Time ran out - Postponing",
          "postpone naming somebody: Time ran out - Postponing",
          "postpone: Time ran out - Postponing due to Issue"}) {
        EXPECT_GT(ends[row], 0) << row;
    }
    EXPECT_THAT(met, ::testing::IsSupersetOf(landmarks));
}

}  // namespace
}  // namespace velunor::testing
