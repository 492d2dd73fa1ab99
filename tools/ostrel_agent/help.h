#pragma once

namespace velunor {

/// What --help prints. The man page's synopsis, options and statuses are made from it, so its
/// layout counts: cmake/ManPages.cmake reads it.
inline constexpr const char* helpText =
    R"(Usage: ostrel-agent serve [--once] [--reply TEXT]
       ostrel-agent prompt [--timeout SECONDS] [--program PATH] [--active | --user NAME]
                    -- KIND NAME PROCEED MINUTES NO-POSTPONE ATTEMPTS
       ostrel-agent --help | --version

serve owns the name of the agent service on the bus of the settings, prints each request (user id of
the sender, key, JSON) and replies to it. prompt serves, shows one prompt and prints the JSON of its
answer.

Options of serve:
  --once             Ends after one request.
  --reply TEXT       Replies with this text; without the option it is "OK".

Options of prompt:
  --timeout SECONDS  Waits no longer for the answer, and ends the prompt; a whole number up to
                     604800, which is a week.
  --program PATH     Starts this program; without the option it is VelunorOSUpdate beside
                     ostrel-agent.
  --user NAME        Asks the user of this name, in their graphical session in the foreground. Only
                     root may.
  --active           Asks whoever sits at the machine's first seat. Only root may.

Exit status of prompt:
   0  The answer was to proceed.
  10  The answer was to postpone.
   1  VELUNOR_AGENT_SETTINGS is not an absolute path.
   2  Wrong command line, or one that only root may give.
   3  The settings cannot be used, there is no bus, or the name of the service is taken.
   4  The prompt did not start or ended without an answer, or the answer could not be written.
   5  The time of --timeout ran out.
   6  Nobody is logged in at the machine, or the user has no session in the foreground.
   7  There is no user of that name.
   8  The session is not a graphical one, or has no display.
   9  The session ended before the answer.
)";

}  // namespace velunor
