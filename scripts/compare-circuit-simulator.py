#!/usr/bin/env python3
"""Runs examples/triode-stage.xml through `torvane run` and the same stage through ngspice (its
Koren laws as behavioural sources) on 1 kHz sines at 48 kHz. It prints the RMS difference of "out"
as a percentage of ngspice's RMS, against ngspice held to fixed trapezoidal steps of one sample
on the same instants as ours, and the CPU time (user + system, best of two) of each whole
process, ngspice then running with its default tolerances and a maximum step of one sample.

Usage: scripts/compare-circuit-simulator.py [BUILD_DIR] [--seconds S] [--levels 0.05,0.5,2]
Needs ngspice on the PATH; it is a check, not a dependency of the project."""
import math, os, resource, shutil, struct, subprocess, sys, tempfile

RATE = 48000
NETLIST = """12AX7 common-cathode stage
Vin in 0 SIN(0 {level} 1000 {delay})
Vsup supply 0 250
Rstop in grid 68k
Rleak grid 0 1meg
RL supply plate 100k
Rk cathode 0 1.5k
Ck cathode 0 22u
Cout plate out 22n
Rout out 0 1meg
Bp plate cathode I = v(plate,cathode) > 0 ? 2/1060*pwr(v(plate,cathode)/600*ln(1+exp(600*(1/100+v(grid,cathode)/sqrt(300+v(plate,cathode)*v(plate,cathode))))), 1.4) : 0
Bg grid cathode I = v(grid,cathode)+0.53 > 0 ? 3.14e-4*pwr(v(grid,cathode)+0.53, 3) : 0
.options method=trap {options}
.tran {step} {seconds} 0 {step}
.save v(out)
.end
"""


def cpu_seconds(command):
    """CPU time of the whole child process, best of two."""
    best = None
    for _ in range(2):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        used = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
        best = used if best is None else min(best, used)
    return best


def write_sine(path, level, frames):
    data = struct.pack("<%df" % frames,
                       *(level * math.sin(2 * math.pi * 1000 * i / RATE) for i in range(frames)))
    header = (b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVEfmt " +
              struct.pack("<IHHIIHH", 16, 3, 1, RATE, RATE * 4, 4, 32) + b"data" +
              struct.pack("<I", len(data)))
    with open(path, "wb") as f:
        f.write(header + data)


def read_wav_channel0(path):
    with open(path, "rb") as f:
        raw = f.read()
    at = 12
    channels = 1
    while at < len(raw):
        name, size = raw[at:at + 4], struct.unpack("<I", raw[at + 4:at + 8])[0]
        if name == b"fmt ":
            channels = struct.unpack("<H", raw[at + 10:at + 12])[0]
        if name == b"data":
            values = struct.unpack("<%df" % (size // 4), raw[at + 8:at + 8 + size])
            return values[::channels]
        at += 8 + size + (size & 1)
    raise ValueError("no data in " + path)


# ngspice starts with steps of 1/100 of a step, doubling up to whole ones: its fixed steps then
# fall 1.28 steps after the sample instants. Held back by that much, its input takes our
# samples' values at its own step instants.
START_STEPS = 1.28


def read_raw(path, frames):
    """v(out) at each of ngspice's whole-step instants, by our sample index; ngspice may write
    more points than it announces."""
    with open(path, "rb") as f:
        raw = f.read()
    body = raw.partition(b"Binary:\n")[2]
    pairs = struct.unpack("<%dd" % (len(body) // 8), body[:len(body) // 8 * 8])
    values = {}
    for i in range(0, len(pairs) - 1, 2):
        steps = pairs[i] * RATE - START_STEPS
        index = round(steps)
        if 0 <= index < frames and abs(steps - index) < 1e-3:
            values[index] = pairs[i + 1]
    return values


def write_netlist(path, level, seconds, fixed_steps):
    """The stage; with `fixed_steps` ngspice's steps are held at one sample and its input is
    held back onto our instants, else it runs on its default tolerances."""
    step = 1.0 / RATE
    with open(path, "w") as f:
        f.write(NETLIST.format(level=level, step="%.12g" % step, seconds=seconds,
                               delay="%.12g" % (START_STEPS * step if fixed_steps else 0),
                               options="trtol=1e6" if fixed_steps else ""))


def main():
    arguments = sys.argv[1:]
    build = "build"
    seconds, levels = 10.0, [0.05, 0.5, 2.0]
    while arguments:
        word = arguments.pop(0)
        if word == "--seconds":
            seconds = float(arguments.pop(0))
        elif word == "--levels":
            levels = [float(v) for v in arguments.pop(0).split(",")]
        else:
            build = word
    if shutil.which("ngspice") is None:
        sys.exit("ngspice is not installed")
    here = os.path.dirname(os.path.abspath(__file__))
    document = os.path.join(here, "..", "examples", "triode-stage.xml")
    frames = int(seconds * RATE)
    with tempfile.TemporaryDirectory() as folder:
        for level in levels:
            sine, out = os.path.join(folder, "in.wav"), os.path.join(folder, "out.wav")
            netlist, raw = os.path.join(folder, "stage.cir"), os.path.join(folder, "stage.raw")
            write_sine(sine, level, frames)
            ours = cpu_seconds([os.path.join(build, "torvane"), "run", document, "--in", sine,
                                "--out", out, "--block", "256"])
            write_netlist(netlist, level, seconds, fixed_steps=False)
            theirs = cpu_seconds(["ngspice", "-b", "-r", raw, netlist])
            write_netlist(netlist, level, seconds, fixed_steps=True)
            subprocess.run(["ngspice", "-b", "-r", raw, netlist], check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            mine, reference = read_wav_channel0(out), read_raw(raw, frames)
            shared = [i for i in reference if i < len(mine)]
            error = math.sqrt(sum((mine[i] - reference[i]) ** 2 for i in shared) / len(shared))
            scale = math.sqrt(sum(reference[i] ** 2 for i in shared) / len(shared))
            print("%.3g V: RMS difference %.3f %% of %.4g V RMS; CPU torvane %.3f s, ngspice %.3f s,"
                  " ratio %.1f" % (level, 100 * error / scale, scale, ours, theirs, theirs / ours))


main()
