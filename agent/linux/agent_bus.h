#pragma once

namespace velunor {

// Where the agent service is on the message bus, and the one method that it answers:
// ReplyDataForKey(in s key, in ay message, out s reply).

inline constexpr const char* agentBusName = "com.velunor.OstrelAgent";
inline constexpr const char* agentObjectPath = "/com/velunor/OstrelAgent";
inline constexpr const char* agentInterface = "com.velunor.OstrelAgent1";
inline constexpr const char* agentReplyMethod = "ReplyDataForKey";

}  // namespace velunor
