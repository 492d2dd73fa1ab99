// Usage: agent_fake_service ADDRESS MODE USER
// Owns the agent service's name on the bus at ADDRESS, as the numeric USER or, with "own", as the
// user who started it. Prints "ready", then each request as key, blank, message in hexadecimal
// digits, and treats it as MODE says. With "destination", whom it is addressed to comes before it.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/private_bus.h"

namespace {

using velunor::testing::BusConnection;

struct Service {
    std::string mode;
    sd_bus_message* held = nullptr;
    bool ended = false;
};

bool print(const std::string& line) {
    return std::printf("%s\n", line.c_str()) > 0 && std::fflush(stdout) == 0;
}

std::string requestLine(const char* key, const unsigned char* bytes, std::size_t size) {
    std::string line = std::string(key) + ' ';
    constexpr const char* digits = "0123456789abcdef";
    for (std::size_t index = 0; index < size; ++index) {
        line += digits[bytes[index] >> 4U];
        line += digits[bytes[index] & 15U];
    }
    return line;
}

int sendLateReply(Service& service) {
    constexpr useconds_t lateness = 1'500'000;
    usleep(lateness);
    return sd_bus_reply_method_return(service.held, "s", "late reply");
}

int handle(sd_bus_message* message, void* self, sd_bus_error* error) {
    if (sd_bus_message_is_method_call(message, "com.velunor.OstrelAgent1", "ReplyDataForKey") <=
        0) {
        return 0;
    }
    auto& service = *static_cast<Service*>(self);
    if (service.mode == "destination" && !print(sd_bus_message_get_destination(message))) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "no output");
    }
    const char* key = nullptr;
    const void* bytes = nullptr;
    std::size_t size = 0;
    if (sd_bus_message_read(message, "s", &key) < 0 ||
        sd_bus_message_read_array(message, 'y', &bytes, &size) < 0 ||
        !print(requestLine(key, static_cast<const unsigned char*>(bytes), size))) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "unreadable request");
    }
    if (service.mode == "answer" || service.mode == "destination") {
        return sd_bus_reply_method_return(message, "s", "status noted: \u00e4/\"");
    }
    if (service.mode == "refuse") {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "no wish to answer");
    }
    if (service.mode == "refuse-mutely") {
        const sd_bus_error mute{SD_BUS_ERROR_FAILED, nullptr, 0};
        return sd_bus_reply_method_error(message, &mute);
    }
    if (service.mode == "number") {
        return sd_bus_reply_method_return(message, "u", 7U);
    }
    if (service.mode == "nothing") {
        return sd_bus_reply_method_return(message, nullptr);
    }
    if (service.mode == "leave") {
        service.ended = true;
        return 1;
    }
    service.held = sd_bus_message_ref(message);
    return service.mode == "late" ? sendLateReply(service) : 1;
}

int serve(const std::string& address, Service& service) {
    const BusConnection bus = velunor::testing::connectToBus(address);
    // Not through a table of methods, which would not let a reply of another type pass.
    if (sd_bus_add_object(bus.get(), nullptr, "/com/velunor/OstrelAgent", handle, &service) < 0 ||
        sd_bus_request_name(bus.get(), "com.velunor.OstrelAgent", 0) < 0 || !print("ready")) {
        return EXIT_FAILURE;
    }
    while (!service.ended) {
        const int done = sd_bus_process(bus.get(), nullptr);
        if (done < 0 || (done == 0 && sd_bus_wait(bus.get(), UINT64_MAX) < 0)) {
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int argumentCount = 4;
    if (argc != argumentCount) {
        return EXIT_FAILURE;
    }
    const std::string user = argv[3];
    if (user != "own") {
        const auto number = static_cast<uid_t>(std::strtoul(user.c_str(), nullptr, 10));
        if (setresgid(number, number, number) != 0 || setresuid(number, number, number) != 0) {
            std::perror("agent_fake_service");
            return EXIT_FAILURE;
        }
    }
    Service service{argv[2]};
    return serve(argv[1], service);
}
