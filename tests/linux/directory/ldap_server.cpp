#include "tests/linux/directory/ldap_server.h"

#include <arpa/inet.h>
#include <ldap.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <csignal>
#include <stdexcept>
#include <vector>

#include "platform/owned.h"
#include "platform/posix/file_descriptor.h"
#include "tests/support/files.h"
#include "tests/support/wait.h"

namespace velunor::testing {

namespace {

constexpr const char* administrator = "cn=admin,dc=example,dc=org";

/// A port that nobody has at the moment.
int freePort() {
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket.get(), generic, size) != 0 || getsockname(socket.get(), generic, &size) != 0) {
        throw std::runtime_error("no free port");
    }
    return ntohs(address.sin_port);
}

/// LDIF's form for values that need not be plain text.
std::string base64(std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr std::size_t group = 3;
    std::string text;
    for (std::size_t place = 0; place < bytes.size(); place += group) {
        const std::string_view part = bytes.substr(place, group);
        unsigned value = 0;
        for (std::size_t index = 0; index < group; ++index) {
            value =
                value << 8U | (index < part.size() ? static_cast<unsigned char>(part[index]) : 0U);
        }
        for (std::size_t index = 0; index <= group; ++index) {
            text += index <= part.size() ? digits[value >> (18U - 6U * index) & 63U] : '=';
        }
    }
    return text;
}

/// A value as an RDN has it.
std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += {'\\', digits[value / 16U], digits[value % 16U]};
    }
    return text;
}

/// Whether the directory's library, and its server with it, speaks TLS by OpenSSL; by GnuTLS else.
bool isBuiltWithOpenssl() {
    char* package = nullptr;
    ldap_get_option(nullptr, LDAP_OPT_X_TLS_PACKAGE, &package);
    const Owned<char, ldap_memfree> owner(package);
    return package != nullptr && std::string_view(package) == "OpenSSL";
}

/// Whether somebody takes connections at a local socket's path.
bool listens(const std::string& path) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

int occurrences(const std::string& text, std::string_view part) {
    int count = 0;
    for (std::size_t place = 0; (place = text.find(part, place)) != std::string::npos;
         place += part.size()) {
        ++count;
    }
    return count;
}

}  // namespace

LdapServer::LdapServer(const LdapServerSettings& settings) {
    makeCertificates(settings);
    writeConfiguration(settings);
    loadEntries(settings);
    constexpr int mostTries = 10;
    for (int tries = 1; !start(settings.offersTls); ++tries) {
        if (tries == mostTries) {
            throw std::runtime_error("slapd does not start:\n" + log());
        }
    }
}

std::string LdapServer::tlsUri() const {
    return "ldaps://127.0.0.1:" + std::to_string(tlsPort_);
}

std::string LdapServer::plainUri() const {
    return "ldap://127.0.0.1:" + std::to_string(plainPort_);
}

void LdapServer::addAccount(std::string_view user, std::string_view password) {
    const std::string entry = file("new.ldif");
    testing::writeFile(entry, accountEntry(user, password));
    run({"ldapadd", "-x", "-H", controlUri(), "-D", administrator, "-y", file("admin"), "-f",
         entry});
    std::filesystem::remove(entry);
}

std::string LdapServer::accountEntry(std::string_view user, std::string_view password,
                                     std::string_view lines) {
    return "dn:: " + base64("uid=" + hexadecimal(user) + "," + accounts()) +
           "\nobjectClass: account\nobjectClass: simpleSecurityObject\nuid:: " + base64(user) +
           "\nuserPassword:: " + base64(password) + "\n" + std::string(lines) + "\n";
}

int LdapServer::connections() const {
    return occurrences(log(), " ACCEPT from IP=");
}

int LdapServer::searches() const {
    return occurrences(log(), " SRCH base=");
}

int LdapServer::binds() const {
    const std::string text = log();
    const std::string own = std::string("BIND dn=\"") + administrator + "\" method=";
    return occurrences(text, " method=") - occurrences(text, own);
}

std::string LdapServer::log() const {
    return testing::readFile(file("log"));
}

void LdapServer::makeCertificates(const LdapServerSettings& settings) const {
    const std::vector<std::string> newKey{
        "openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes"};
    std::vector<std::string> authority = newKey;
    authority.insert(authority.end(), {"-x509", "-days", "2", "-subj", "/CN=Test authority",
                                       "-keyout", file("ca.key"), "-out", file("ca.pem")});
    std::vector<std::string> request = newKey;
    request.insert(request.end(), {"-subj", "/CN=Test server", "-addext",
                                   "subjectAltName=" + settings.certificateNames, "-keyout",
                                   file("server.key"), "-out", file("server.csr")});
    run(authority);
    run(request);
    testing::writeFile(file("issued"), "");
    testing::writeFile(file("ca.cnf"),
                       "[ca]\ndefault_ca = own\n[own]\ndatabase = " + file("issued") +
                           "\nnew_certs_dir = " + directory_.path().string() +
                           "\nrand_serial = yes\ndefault_md = sha256\npolicy = any\n"
                           "copy_extensions = copy\ndefault_days = 2\n"
                           "[any]\ncommonName = supplied\n");
    std::vector<std::string> issue{"openssl",         "ca",    "-batch",           "-config",
                                   file("ca.cnf"),    "-cert", file("ca.pem"),     "-keyfile",
                                   file("ca.key"),    "-in",   file("server.csr"), "-out",
                                   file("server.pem")};
    if (settings.certificateExpired) {
        issue.insert(issue.end(), {"-startdate", "20200101000000Z", "-enddate", "20200102000000Z"});
    }
    run(issue);
}

std::string LdapServer::tlsConfiguration(const LdapServerSettings& settings) const {
    std::string text = "TLSCACertificateFile " + file("ca.pem") + "\n";
    text += "TLSCertificateFile " + file("server.pem") + "\n";
    text += "TLSCertificateKeyFile " + file("server.key") + "\n";
    const std::string version =
        settings.tlsVersion.empty() ? "" : "+VERS-TLS" + settings.tlsVersion;
    if (isBuiltWithOpenssl()) {
        writeOpensslConfiguration(settings);
    } else if (settings.ccmOnly) {
        text += "TLSCipherSuite NORMAL:-VERS-ALL:+VERS-TLS1.3:-CIPHER-ALL:+AES-128-CCM\n";
    } else if (!version.empty()) {
        text += "TLSCipherSuite NORMAL:-VERS-ALL:" + version + "\n";
    }
    return text;
}

/// The server's own settings have no word for the newest version that is spoken.
void LdapServer::writeOpensslConfiguration(const LdapServerSettings& settings) const {
    std::string text =
        "openssl_conf = all\n[all]\nssl_conf = tls\n[tls]\nsystem_default = own\n"
        "[own]\nCipherString = DEFAULT:@SECLEVEL=0\n";
    if (!settings.tlsVersion.empty()) {
        text += "MinProtocol = TLSv1\nMaxProtocol = TLSv" +
                (settings.tlsVersion == "1.0" ? "1" : settings.tlsVersion) + "\n";
    }
    if (settings.ccmOnly) {
        text += "MinProtocol = TLSv1.3\nCiphersuites = TLS_AES_128_CCM_SHA256\n";
    }
    testing::writeFile(file("openssl.cnf"), text);
}

void LdapServer::writeConfiguration(const LdapServerSettings& settings) const {
    std::string text =
        "include /etc/ldap/schema/core.schema\ninclude /etc/ldap/schema/cosine.schema\n"
        "modulepath /usr/lib/ldap\nmoduleload back_mdb\nmoduleload ppolicy\nmoduleload retcode\n";
    if (settings.offersTls) {
        text += tlsConfiguration(settings);
    }
    text += "database mdb\nmaxsize 16777216\nsuffix dc=example,dc=org\n";
    text += "directory " + file("data") + "\n";
    text += "rootdn " + std::string(administrator) + "\nrootpw administrator\n";
    text += settings.access;
    // Who has not proved to be anybody may find accounts and prove it, as in most directories.
    text += "access to attrs=userPassword by anonymous auth by * none\naccess to * by * read\n";
    text += "overlay ppolicy\nppolicy_default cn=policy,dc=example,dc=org\n";
    text += settings.configuration;
    testing::writeFile(file("slapd.conf"), text);
    testing::writeFile(file("admin"), "administrator");
    std::filesystem::permissions(file("admin"), std::filesystem::perms::owner_read);
    std::filesystem::create_directory(file("data"));
    // Where the kernel confines slapd to its usual places, a copy of it has none.
    std::filesystem::copy_file("/usr/sbin/slapd", file("slapd"));
    std::filesystem::create_symlink("slapd", file("slapadd"));
}

void LdapServer::loadEntries(const LdapServerSettings& settings) const {
    testing::writeFile(file("entries.ldif"), R"(dn: dc=example,dc=org
objectClass: domain
dc: example

dn: ou=people,dc=example,dc=org
objectClass: organizationalUnit
ou: people

dn: cn=policy,dc=example,dc=org
objectClass: applicationProcess
objectClass: pwdPolicy
cn: policy
pwdAttribute: userPassword
pwdLockout: TRUE
pwdMustChange: TRUE

)" + settings.entries);
    run({file("slapadd"), "-q", "-f", file("slapd.conf"), "-l", file("entries.ldif")});
}

bool LdapServer::start(bool offersTls) {
    std::filesystem::remove(file("log"));
    std::filesystem::remove(file("control"));
    tlsPort_ = freePort();
    plainPort_ = freePort();
    testing::Command command;
    // It begins to listen in this order, so that the last one speaks for all.
    const std::string uris = (offersTls ? tlsUri() + " " : "") + plainUri() + " " + controlUri();
    command.arguments = {file("slapd"), "-d", "stats", "-f", file("slapd.conf"), "-h", uris};
    command.environment = {{"OPENSSL_CONF", file("openssl.cnf")}};
    command.errors = file("log");
    process_ = std::make_unique<testing::ChildProcess>(command);
    return testing::eventually(
               [&] { return listens(file("control")) || !process_->isRunning(); }) &&
           process_->isRunning();
}

void LdapServer::run(const std::vector<std::string>& command) const {
    testing::Command child;
    child.arguments = command;
    child.environment = {{"LDAPNOINIT", "1"}};
    child.output = file("output");
    child.errors = file("output");
    if (testing::ChildProcess(child).wait() != testing::Ending{0, 0}) {
        throw std::runtime_error(command.front() + " fails:\n" + testing::readFile(file("output")));
    }
}

std::string LdapServer::controlUri() const {
    std::string uri = "ldapi://";
    for (const char character : file("control")) {
        uri += character == '/' ? "%2F" : std::string(1, character);
    }
    return uri;
}

void LdapServer::pause() const {
    process_->sendSignal(SIGSTOP);
    // Its threads go on for a moment, in which it could still answer.
    siginfo_t state{};
    waitid(P_PID, static_cast<id_t>(process_->id()), &state, WSTOPPED | WNOWAIT);
}

void LdapServer::resume() const {
    process_->sendSignal(SIGCONT);
}

}  // namespace velunor::testing
