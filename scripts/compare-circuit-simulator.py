#!/usr/bin/env python3
"""Runs examples/triode-stage.xml through `torvane run` and the same stage through ngspice (its
Koren laws as behavioural sources, trapezoidal integration, a maximum step of one sample), on
1 kHz sines at 48 kHz, and prints the RMS difference of "out" as a percentage of ngspice's RMS,
and the CPU time (user + system, best of two) of each whole process.

Usage: scripts/compare-circuit-simulator.py [BUILD_DIR] [--seconds S] [--levels 0.05,0.5,2]
Needs ngspice on the PATH; it is a check, not a dependency of the project."""
import math, os, resource, shutil, struct, subprocess, sys, tempfile

RATE = 48000
NETLIST = """12AX7 common-cathode stage
Vin in 0 SIN(0 {level} 1000)
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
.options method=trap
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


def read_raw(path, frames):
    """v(out) at each sample time, linear between ngspice's own time points. (Its `interp`
    option, which would write the sample times itself, leads the true answer by more than half
    a sample here: an RC low-pass came out 9.5 % RMS away from its exact response.)"""
    with open(path, "rb") as f:
        raw = f.read()
    body = raw.partition(b"Binary:\n")[2]
    pairs = struct.unpack("<%dd" % (len(body) // 8), body[:len(body) // 8 * 8])
    times, values = pairs[0::2], pairs[1::2]
    result, k = [0.0] * frames, 1
    for i in range(frames):
        t = i / RATE
        while k < len(times) - 1 and times[k] < t:
            k += 1
        t0, t1 = times[k - 1], times[k]
        part = (t - t0) / (t1 - t0) if t1 > t0 else 0.0
        result[i] = values[k - 1] + part * (values[k] - values[k - 1])
    return result


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
            with open(netlist, "w") as f:
                f.write(NETLIST.format(level=level, step="%.12g" % (1.0 / RATE), seconds=seconds))
            ours = cpu_seconds([os.path.join(build, "torvane"), "run", document, "--in", sine,
                                "--out", out, "--block", "256"])
            theirs = cpu_seconds(["ngspice", "-b", "-r", raw, netlist])
            mine, reference = read_wav_channel0(out), read_raw(raw, frames)
            count = min(len(mine), len(reference))
            error = math.sqrt(sum((mine[i] - reference[i]) ** 2 for i in range(count)) / count)
            scale = math.sqrt(sum(reference[i] ** 2 for i in range(count)) / count)
            print("%.3g V: RMS difference %.3f %% of %.4g V RMS; CPU torvane %.3f s, ngspice %.3f s,"
                  " ratio %.1f" % (level, 100 * error / scale, scale, ours, theirs, theirs / ours))


main()
