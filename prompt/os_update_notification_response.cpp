#include "prompt/os_update_notification_response.h"

namespace velunor {
namespace {

std::string described(std::string_view decision, const std::optional<std::string>& userName) {
    return std::string(decision) + userName.value_or("NA");
}

}  // namespace

std::string OSUpdateNotificationResponse::description() const {
    if (const auto* proceed = std::get_if<Proceed>(&answer)) {
        return described("proceed - ", proceed->userName);
    }
    return described("postpone - ", std::get<Postponse>(answer).userName);
}

}  // namespace velunor
