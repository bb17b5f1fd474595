// What norvctl writes, read by the programs that it is written for.
#include "ctl/check.h"
#include "ctl/check_text.h"
#include "ctl/dh_parameters.h"
#include "ctl/formats.h"
#include "tests/ctl/known_primes.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/big.h"
#include "tests/support/comes_true.h"
#include "tests/support/process.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using Arguments = std::vector<std::string>;

Ending run(const std::string& program, const Arguments& arguments,
           const std::string& input = {})
{
    Streams streams;
    streams.inputText = input;
    Process process(program, arguments, streams);
    Ending ending = process.wait();
    EXPECT_TRUE(ending.inTime) << program;
    return ending;
}

constexpr char openssl[] = "/usr/bin/openssl";
constexpr char sshKeygen[] = "/usr/bin/ssh-keygen";
constexpr char ssh[] = "/usr/bin/ssh";

std::string written(const char* safePrime, Format format)
{
    Found found;
    found.prime = SecretNumber(fromHex(safePrime).release());
    found.base = SecretNumber(fromHex("0").release());
    found.safe = true;
    found.bits = BN_num_bits(found.prime.get());
    found.threads = 2;
    found.norvVersion = "1.0";
    found.tried = iterationsOfCheck(found.bits);
    return inFormat(found, format).value_or("none");
}

constexpr const char* primes[] = {oakley1024, safe2048, safe2048WithoutSquareTwo};

TEST(Openssl, AcceptsThePem)
{
    for (const char* prime : primes) {
        const Ending ending =
            run(openssl, {"dhparam", "-check", "-noout"}, written(prime, Format::pem));
        EXPECT_EQ(0, ending.exitCode);
        EXPECT_EQ("DH parameters appear to be ok.\n", ending.errors);
    }
}

TEST(Openssl, AcceptsWhatNorvctlFinds)
{
    const Ending found = run(NORVCTL_PROGRAM, {"dhparam", "512", "--quiet"});
    const Ending ending = run(openssl, {"dhparam", "-check", "-noout"}, found.output);
    EXPECT_EQ(0, ending.exitCode);
    EXPECT_EQ("DH parameters appear to be ok.\n", ending.errors);
}

TEST(Openssl, AcceptsTheDer)
{
    for (const char* prime : primes) {
        const Ending ending =
            run(openssl, {"dhparam", "-inform", "DER", "-check", "-noout"},
                written(prime, Format::der));
        EXPECT_EQ(0, ending.exitCode);
        EXPECT_EQ("DH parameters appear to be ok.\n", ending.errors);
    }
}

// The check above finds what is wrong.
TEST(Openssl, RefusesAnotherPrime)
{
    std::string changed = oakley1024;
    changed[100] = changed[100] == '1' ? '2' : '1';
    const std::optional<std::string> pem =
        encodeDhParameters(fromHex(changed).get(), 2, Encoding::pem);
    ASSERT_TRUE(pem);
    const Ending ending = run(openssl, {"dhparam", "-check", "-noout"}, *pem);
    EXPECT_NE(0, ending.exitCode);
    EXPECT_NE(std::string::npos, ending.errors.find("prime")) << ending.errors;
}

TEST(Openssl, PrintsTheSameHexAndDecimal)
{
    std::string hex = written(safe2048, Format::hex);
    hex.pop_back();
    for (const Arguments& arguments :
         {Arguments{"prime", "-hex", hex}, Arguments{"prime", "-safe", "-hex", hex}}) {
        const Ending ending = run(openssl, arguments);
        EXPECT_NE(std::string::npos, ending.output.find(" is prime")) << ending.output;
    }
    std::string decimal = written(safe2048, Format::dec);
    decimal.pop_back();
    const Ending ending = run(openssl, {"prime", decimal});
    EXPECT_NE(std::string::npos, ending.output.find(" is prime")) << ending.output;
}

// Parameters that openssl itself writes, as its users have them.
TEST(CheckText, ReadsWhatOpensslWrites)
{
    const std::string pem = written(oakley1024, Format::pem);
    const Ending text = run(openssl, {"dhparam", "-text"}, pem);
    EXPECT_EQ("PEM: a safe prime of 1024 bits; generator 2 of order (p-1)/2\n",
              checkText(text.output, true, {}).answer);
    const Ending der = run(openssl, {"dhparam", "-outform", "DER"}, pem);
    EXPECT_EQ("DER: a safe prime of 1024 bits; generator 2 of order (p-1)/2\n",
              checkText(der.output, true, {}).answer);
}

TEST(CheckText, ReadsAGroupWithAQ)
{
    const Ending group = run(openssl, {"genpkey", "-genparam", "-algorithm", "DHX",
                                       "-pkeyopt", "dh_rfc5114:1"});
    ASSERT_EQ(0, group.exitCode) << group.errors;
    const CheckAnswer answer = checkText(group.output, false, {});
    EXPECT_EQ(0, answer.exitCode) << answer.answer << answer.error;
    EXPECT_NE(std::string::npos, answer.answer.find("of order q, a prime of 160 bits"))
        << answer.answer;
}

TEST(CCompiler, AcceptsTheArrayAndSeesTheSameBytes)
{
    const TemporaryFolder folder;
    writeFile(folder / "prime.h", written(oakley1024, Format::c));
    writeFile(folder / "main.c", "#include \"prime.h\"\n"
                                 "#include <stdio.h>\n"
                                 "int main(void)\n"
                                 "{\n"
                                 "    for (unsigned i = 0; i < prime_length; ++i)\n"
                                 "        printf(\"%02x\", prime[i]);\n"
                                 "    return sizeof prime != prime_length;\n"
                                 "}\n");
    const std::string program = (folder / "program").string();
    for (const char* language : {"c", "c++"}) {
        const Ending compiled =
            run("/usr/bin/c++",
                {"-x", language, "-Wall", "-Wextra", "-Wconversion", "-pedantic",
                 "-Werror", "-o", program, (folder / "main.c").string()});
        ASSERT_EQ(0, compiled.exitCode) << compiled.errors;
        const Ending ending = run(program, {});
        EXPECT_EQ(0, ending.exitCode);
        EXPECT_EQ(oakley1024, ending.output);
    }
}

std::vector<std::string> fieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; stream >> field;)
        fields.push_back(field);
    return fields;
}

TEST(SshKeygen, ScreensEveryModuliLineAsGood)
{
    const TemporaryFolder folder;
    std::string lines;
    for (const char* prime : primes)
        lines += written(prime, Format::moduli);
    writeFile(folder / "candidates", lines);
    const Ending ending =
        run(sshKeygen, {"-M", "screen", "-O", "prime-tests=4", "-f",
                        (folder / "candidates").string(), (folder / "moduli").string()});
    EXPECT_EQ(0, ending.exitCode) << ending.errors;

    std::istringstream before(lines);
    std::istringstream after(contentOf(folder / "moduli"));
    std::string candidate;
    std::string screened;
    while (std::getline(before, candidate)) {
        ASSERT_TRUE(std::getline(after, screened)) << ending.errors;
        const auto wanted = fieldsOf(candidate);
        const auto found = fieldsOf(screened);
        ASSERT_EQ(7u, wanted.size());
        ASSERT_EQ(7u, found.size());
        // Type, tests, size, generator and modulus stay; the tries are added.
        for (const std::size_t field : {1u, 2u, 4u, 5u, 6u})
            EXPECT_EQ(wanted[field], found[field]);
        EXPECT_EQ(std::stoi(wanted[3]) + 4, std::stoi(found[3]));
    }
    EXPECT_FALSE(std::getline(after, screened));
}

TEST(SshKeygen, RefusesALineWhosePrimeIsChanged)
{
    const TemporaryFolder folder;
    std::string line = written(oakley1024, Format::moduli);
    char& digit = line[line.size() - 100];
    digit = digit == '1' ? '2' : '1';
    writeFile(folder / "candidates", line);
    run(sshKeygen, {"-M", "screen", "-O", "prime-tests=4", "-f",
                    (folder / "candidates").string(), (folder / "moduli").string()});
    EXPECT_EQ("", contentOf(folder / "moduli"));
}

// An sshd of this user, or of nobody where this user is root: that one would want folders
// of the system. It ends with the record.
class Sshd
{
public:
    explicit Sshd(const std::string& moduli)
    {
        writeFile(folder_ / "moduli", moduli);
        const Ending tool = run(SSHD_TOOL, {path("")});
        EXPECT_EQ(0, tool.exitCode) << tool.errors;
        program_ = tool.output.substr(0, tool.output.find('\n'));
        const std::string key = path("key");
        EXPECT_EQ(0,
                  run(sshKeygen, {"-q", "-t", "ed25519", "-N", "", "-f", key}).exitCode);
        if (geteuid() == 0)
            giveToNobody();
        std::random_device random;
        // Another process may have the port: then it is another one's turn.
        for (int tries = 0; tries < 20 && !listening_; ++tries) {
            port_ = 20000 + static_cast<int>(random() % 40000);
            start();
        }
    }
    ~Sshd()
    {
        if (process_)
            process_->kill();
    }
    Sshd(const Sshd&) = delete;
    Sshd& operator=(const Sshd&) = delete;

    bool isListening() const
    {
        return listening_;
    }
    int port() const
    {
        return port_;
    }
    std::string log() const
    {
        return contentOf(folder_ / "log");
    }

private:
    static constexpr unsigned nobody = 65534;

    std::string path(const char* name) const
    {
        return (folder_ / name).string();
    }

    void giveToNobody()
    {
        for (const std::string& name : {path(""), path("moduli"), path("key")})
            EXPECT_EQ(0, chown(name.c_str(), nobody, nobody));
    }

    void start()
    {
        std::filesystem::remove(folder_ / "log");
        Arguments arguments = {"-D",        "-f",        "/dev/null",
                               "-E",        path("log"), "-h",
                               path("key"), "-p",        std::to_string(port_)};
        for (const std::string& option :
             {std::string("ListenAddress=127.0.0.1"), std::string("LogLevel=DEBUG3"),
              std::string("PidFile=none"), "ModuliFile=" + path("moduli"),
              // OpenSSH 10 does not offer it by itself.
              std::string("KexAlgorithms=diffie-hellman-group-exchange-sha256")}) {
            arguments.push_back("-o");
            arguments.push_back(option);
        }
        std::string program = program_;
        if (geteuid() == 0) {
            arguments.insert(arguments.begin(), {"--reuid=65534", "--regid=65534",
                                                 "--clear-groups", program});
            program = "/usr/bin/setpriv";
        }
        process_ = std::make_unique<Process>(program, arguments);
        listening_ = comesTrue([this] {
                         return log().find("Server listening on") != std::string::npos ||
                                !process_->isRunning();
                     }) &&
                     process_->isRunning();
    }

    TemporaryFolder folder_;
    std::string program_;
    std::unique_ptr<Process> process_;
    int port_ = 0;
    bool listening_ = false;
};

// A client's key exchange by the group that the server chooses. The log-in that follows
// fails.
Arguments keyExchangeWith(const Sshd& server)
{
    return {"-F",
            "/dev/null",
            "-vvv",
            "-p",
            std::to_string(server.port()),
            "-o",
            "KexAlgorithms=diffie-hellman-group-exchange-sha256",
            "-o",
            "StrictHostKeyChecking=no",
            "-o",
            "UserKnownHostsFile=/dev/null",
            "-o",
            "BatchMode=yes",
            "-o",
            "PreferredAuthentications=none",
            "-o",
            "Ciphers=aes128-ctr",
            "user@127.0.0.1",
            "true"};
}

// With the cipher the client asks for 3072 bits and accepts 2048. Where sshd finds no
// group in its file, it takes one of its own, which has 4096 or more.
TEST(Sshd, ServesAGroupFromTheModuliFile)
{
    for (const char* prime : {safe2048, safe2048WithoutSquareTwo}) {
        const Sshd server(written(prime, Format::moduli));
        ASSERT_TRUE(server.isListening()) << server.log();
        const std::string client = run(ssh, keyExchangeWith(server)).errors;
        EXPECT_NE(std::string::npos, client.find("SSH2_MSG_KEX_DH_GEX_GROUP received"))
            << client;
        EXPECT_NE(std::string::npos, client.find("/2048")) << client;
        EXPECT_NE(std::string::npos, client.find("SSH2_MSG_NEWKEYS received")) << client;
        EXPECT_EQ(std::string::npos, server.log().find("WARNING")) << server.log();
    }
}

// The test above sees when sshd does not take the line.
TEST(Sshd, DoesNotTakeALineOfAnotherSize)
{
    std::string line = written(safe2048, Format::moduli);
    line.replace(line.find(" 2047 "), 6, " 2048 ");
    const Sshd server(line);
    ASSERT_TRUE(server.isListening()) << server.log();
    // It need not end: OpenSSH 10 never answers when it finds no group in its file.
    Process client(ssh, keyExchangeWith(server));
    EXPECT_TRUE(comesTrue([&server] {
        return server.log().find("WARNING: no suitable primes") != std::string::npos;
    })) << server.log();
    client.kill();
    EXPECT_EQ(std::string::npos, client.wait().errors.find("/2048"));
}

} // namespace
