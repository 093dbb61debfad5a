#include "tools/torvane/commands/Commands.h"
#include "tools/torvane/commands/OpCommand.h"

#include "runtime/Exceptions.h"

#include <functional>
#include <iostream>
#include <map>
#include <new>

namespace {

using torvane::cli::Arguments;

struct Command {
    std::function<int(Arguments&)> run;
    const char* usage;
};

const char* const toolUsage = R"(torvane: runs system documents and the Torvane amplifier.

Usage: torvane <command> [options]

Commands:
  check DOC.xml          parse and initialise a system document
  check --builtin        the same for the amplifier's built-in document
  amp --in IN --out OUT  run the built-in amplifier over an audio file
  tables [NAME --csv]    list the embedded tables, or print one
  run DOC.xml ...        run a document over an audio file
  op DOC.xml             print the DC operating point of a document's circuits
  generate --out F.wav   write a test signal (sweep, sine or noise)
  info FILE.wav          print a file's format, peak and RMS level
  design --family F ...  print the coefficients of a recursive filter design
  render --out OUT.wav   run audio (or a demo riff) through a VST 2.4 plug-in
  editor                 show a VST 2.4 plug-in's window and try its controls

Run 'torvane <command> --help' for the options of a command.
)";

const std::map<std::string, Command>& commands() {
    static const std::map<std::string, Command> table = {
        {"check",
         {torvane::cli::checkCommand,
          R"(Usage: torvane check DOC.xml
       torvane check --builtin

Reads the document (or the amplifier's built-in one) and initialises a driver
with it; the product's own element types are known.
Prints "ok: G graphs, O outputs, C controls" and exits 0; a document error is
printed on the first line of stderr with exit 1; an unreadable file exits 2.
)"}},
        {"run",
         {torvane::cli::runCommand,
          R"(Usage: torvane run DOC.xml --in IN.wav --out OUT.wav [--rate HZ] [--block N]
                   [--set NAME=VALUE[@SECONDS]]...

Runs the document over an audio file. Input channel i feeds system input i;
a mono file feeds every system input. System output j becomes channel j of
OUT.wav, written as 32-bit float WAV at the input's sample rate.

  --rate HZ      the sample rate the driver is told (no resampling);
                 default: the input file's rate
  --block N      frames per block, default 256; the last block may be shorter
  --set NAME=VALUE
                 writes control NAME before the first block (identity map)
  --set NAME=VALUE@SECONDS
                 writes it at the first block that starts at or after SECONDS

On any failure the message goes to stderr, the exit code is 1 and no output
file is left behind.
)"}},
        {"op", {torvane::cli::opCommand, torvane::cli::opUsage}},
        {"amp",
         {torvane::cli::ampCommand,
          R"(Usage: torvane amp --in IN.wav --out OUT.wav [--rate HZ] [--block N]
                   [--set NAME=VALUE[@SECONDS]]...

Runs the built-in amplifier, with its tables, cabinet response and the value
maps of its controls, over an audio file, with the plug-in's channel rules: a
mono file gives a mono file; a stereo file gives two channels, the second a
copy of the first while Stereo is below 0.5. Output: 32-bit float WAV at the
input's rate. The amplifier runs at rates above 20000 Hz and up to 768000 Hz.

Controls (knob positions from 0 to 1, as a host sends them):
  Gain (0.5)  Feedback (1)  Vol (0.5)  Oversampling (0.5: 0 = 2x, 0.5 = 4x, 1 = 8x)
  Cabinet (1)  CPU (0: low-CPU branch, 1: full quality)  Input (0.5)  Stereo (0)

  --rate HZ, --block N, --set: as for 'torvane run'.
)"}},
        {"tables",
         {torvane::cli::tablesCommand,
          R"(Usage: torvane tables
       torvane tables NAME --csv

Lists the tables built into the amplifier (name, range, step, count), or prints
one as "x,value" rows: the stage curves V1, V2.lowCPU, V2.full, V3.lowCPU,
V3.full (grid volts, plate volts), the grid curves grid.V2V3 and
grid.VolumeControl (grid volts, ohms) and the cabinet response u87 (sample
index, value at 44100 Hz).
)"}},
        {"generate",
         {torvane::cli::generateCommand,
          R"(Usage: torvane generate --out OUT.wav [--kind sweep|sine|noise|riff]
                        [--seconds S] [--rate HZ] [--frequency HZ]

Writes a mono 32-bit float test signal at half scale: a logarithmic sweep from
40 Hz to 8 kHz (default), a sine (default 440 Hz), white noise, or the demo riff
that `torvane render` plays (a clean guitar, peak at half scale, 10 seconds).
Defaults: 2 seconds (the riff: all of it) at 48000 Hz.
)"}},
        {"info",
         {torvane::cli::infoCommand,
          R"(Usage: torvane info FILE.wav

Prints the channels, sample rate and length of an audio file, and the peak and
RMS level of each channel.
)"}},
        {"design",
         {torvane::cli::designCommand,
          R"(Usage: torvane design --family bessel|butterworth|chebyshev --order N --fc F
                      [--fc2 F2] [--band lowpass|highpass|bandpass|bandstop]
                      [--ripple DB] [--no-prewarp] [--matched-z]

Designs a recursive filter and prints its coefficients on one line that can be
pasted into a document's Properties element:
  A="a1|a2|..." B="b0|b1|..."
A holds the feedback coefficients, which are subtracted, B the feed-forward
ones. The gain is 1 at DC (lowpass, bandstop), at half the sample rate
(highpass) or at the mean of the two corners (bandpass).

  --family NAME  bessel, butterworth or chebyshev
  --order N      1 to 10; bandpass and bandstop have twice as many poles
  --fc F         corner as a fraction of the sample rate, 0 < F < 0.5
  --fc2 F2       upper corner of bandpass and bandstop, above --fc
  --band NAME    lowpass (default), highpass, bandpass or bandstop
  --ripple DB    chebyshev pass-band ripple in dB, below 0 (e.g. -0.5)
  --no-prewarp   put the analog corner through the bilinear transform as it
                 is, without the tan() pre-warping that keeps it at F
  --matched-z    map poles and zeros by z = exp(s) instead of the bilinear
                 transform; the corner is not pre-warped

A design error is printed on stderr with exit 1; a usage error exits 2.
)"}},
        {"render",
         {torvane::cli::renderCommand,
          R"(Usage: torvane render [--in IN.wav] --out OUT.wav [--plugin PATH.so] [--rate HZ]
                      [--block N] [--set NAME=VALUE[@SECONDS]]...

Loads a VST 2.4 effect, by default Torvane.so beside this program, runs audio
through it in blocks as a host does, offline, and writes 32-bit float WAV at
the audio's sample rate. A mono file is announced to the effect as mono, feeds
both of its inputs and is written from its first output; a stereo file is
announced as stereo and gives two channels.

Without --in the demo is rendered: about ten seconds of a clean electric guitar
riff, synthesised in mono at --rate (default 48000 Hz).

  --in IN.wav    the audio to render, in any format libsndfile reads
  --plugin PATH  the effect's shared object
  --rate HZ      the sample rate the effect is told, without resampling;
                 default: the file's rate
  --block N      frames per block, default 256; the last block may be shorter
  --set NAME=VALUE
                 a parameter value from 0 to 1, set before processing starts
  --set NAME=VALUE@SECONDS
                 set at the first block that starts at or after SECONDS
                 NAME is one of the names the effect reports, exactly; else
                 its first 8 letters in any case ("oversampling" finds
                 "Oversamp"); else a parameter index from 0.

Torvane's parameters: Volume, Feedback, Output, Oversamp, Cabinet, CPU, Input,
Stereo.

On a terminal a bar shows the progress of a render longer than a second. On
any failure the message goes to stderr, the exit code is 1 and no output file
is left behind; a usage error exits 2.
)"}},
        {"editor",
         {torvane::cli::editorCommand,
          R"(Usage: torvane editor [--plugin PATH.so] [--screenshot OUT.png] [--seconds S]

Loads a VST 2.4 effect, by default Torvane.so beside this program, and opens
its window (its editor) in a window of this program, as a host does, so that
the panel can be seen and tried without a workstation. Each parameter the user
lets go of is printed with its value. The window closes after S seconds, or
when it is closed; no audio runs.

  --plugin PATH      the effect's shared object
  --screenshot FILE  write what the window shows as PNG, then close (after S
                     seconds with --seconds, else as soon as it has drawn)
  --seconds S        close after S seconds

It needs an X display (DISPLAY); without one it says so and exits 1, as it
does when the effect has no window or cannot open it.
)"}},
    };
    return table;
}

int usageError(const std::string& command, const std::string& message) {
    std::cerr << "torvane " << command << ": " << message << "\n"
              << "Run 'torvane " << command << " --help' for usage.\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
        std::cout << toolUsage;
        return words.empty() ? 2 : 0;
    }
    const std::string name = words[0];
    auto found = commands().find(name);
    if (found == commands().end()) {
        std::cerr << "torvane: unknown command \"" << name << "\"\n"
                  << "Run 'torvane --help' for the commands.\n";
        return 2;
    }
    Arguments arguments(std::vector<std::string>(words.begin() + 1, words.end()));
    if (arguments.wantsHelp()) {
        std::cout << found->second.usage;
        return 0;
    }
    try {
        return found->second.run(arguments);
    } catch (const torvane::cli::UsageError& error) {
        return usageError(name, error.what());
    } catch (const torvane::cli::FileError& error) {
        std::cerr << "torvane " << name << ": " << error.what() << "\n";
        return 2;
    } catch (const nodara::NodaraException& error) {
        std::cerr << error.getMessage() << "\n";
        return 1;
    } catch (const std::bad_alloc&) {
        std::cerr << "torvane " << name
                  << ": out of memory; the document asks for more than this machine has "
                     "(look at counts such as Cascade, Order, NumberOfInputs or MaxIRSize)\n";
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "torvane " << name << ": " << error.what() << "\n";
        return 1;
    }
}
