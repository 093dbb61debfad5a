#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace torvane::cli {

/// A mistake in the command line: the tool prints it with a hint and exits 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file the tool cannot read or write: exit 2.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// `--set NAME=VALUE[@SECONDS]`: a control value, before the first block or at a time.
struct ControlSetting {
    std::string name;
    float value = 0.0f;
    /// Applied at the first block that starts at or after this time; none: before the first.
    std::optional<double> seconds;
};

/// The arguments of one subcommand, taken from the front as they are asked for.
class Arguments {
public:
    Arguments(std::vector<std::string> words) : words(std::move(words)) {}

    bool empty() const { return words.empty(); }
    /// True when `--help` or `-h` stands anywhere.
    bool wantsHelp() const;
    /// Removes `flag` and returns its value; absent gives nothing.
    std::optional<std::string> takeOption(const std::string& flag);
    /// Removes every `flag VALUE` pair, in order.
    std::vector<std::string> takeAll(const std::string& flag);
    /// Removes `flag`; whether it stood.
    bool takeFlag(const std::string& flag);
    /// The next positional word; a missing one is a usage error naming `what`.
    std::string takePositional(const std::string& what);
    /// Anything left over is a usage error.
    void expectNothingElse() const;

private:
    std::vector<std::string> words;
};

/// The options of the commands that run audio files: --in, --out, --rate, --block, --set.
struct FileRunOptions {
    std::string input;
    std::string output;
    /// The rate the driver is told; none: the input file's.
    std::optional<double> rate;
    int blockSize = 256;
    std::vector<ControlSetting> settings;

    double rateFor(int fileRate) const { return rate.value_or(fileRate); }
};

/// Takes those options out of `arguments`; --in and --out are required.
FileRunOptions takeFileRunOptions(Arguments& arguments);

double parseNumber(const std::string& text, const std::string& what);
int parsePositiveInteger(const std::string& text, const std::string& what);
ControlSetting parseControlSetting(const std::string& text);

} // namespace torvane::cli
