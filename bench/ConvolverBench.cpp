// The FFT convolver against a plain sliding-window convolution written straight on FFTW with
// the same transform size: what the element's structure costs on top of the transforms.

#include "dsp/convolution/Convolver.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr std::uint32_t responseLength = 8192;

std::vector<float> noise(size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> out(count);
    for (float& sample : out) {
        sample = uniform(generator);
    }
    return out;
}

/// Time per processed sample.
void reportPerSample(benchmark::State& state, size_t block) {
    state.counters["per_sample"] =
        benchmark::Counter(static_cast<double>(state.iterations() * block),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_Convolver(benchmark::State& state) {
    const auto block = static_cast<size_t>(state.range(0));
    std::shared_ptr<nodara::DSPContext> noContext;
    nodara::Convolver convolver;
    convolver.init("bench", {{"MaxIRSize", std::to_string(responseLength)}}, noContext);
    convolver.setMaxBlockSize(static_cast<nodara::int32>(block));
    convolver.propertyChanged("ImpulseResponse",
                              std::make_shared<std::vector<float>>(noise(responseLength, 1)));
    std::vector<float> input = noise(block, 2);
    std::vector<float*> inputs{input.data()};
    for (auto _ : state) {
        convolver.process(inputs, block);
        benchmark::DoNotOptimize(convolver.getOutput(0)[0]);
    }
    state.counters["fft_size"] = convolver.getFftSize();
    reportPerSample(state, block);
}

/// The reference: window, r2c, complex multiply, c2r, last block scaled by 1/N.
class PlainConvolution {
public:
    PlainConvolution(const std::vector<float>& response, size_t size)
        : n(size), window(allocate(n)), time(allocate(n)), spectrum(fftwf_alloc_complex(n / 2 + 1)),
          responseSpectrum(fftwf_alloc_complex(n / 2 + 1)),
          forward(fftwf_plan_dft_r2c_1d(static_cast<int>(n), window, spectrum, FFTW_ESTIMATE)),
          backward(fftwf_plan_dft_c2r_1d(static_cast<int>(n), spectrum, time, FFTW_ESTIMATE)) {
        std::memset(window, 0, n * sizeof(float));
        std::memset(time, 0, n * sizeof(float));
        std::memcpy(time, response.data(), response.size() * sizeof(float));
        fftwf_execute_dft_r2c(forward, time, responseSpectrum);
    }
    ~PlainConvolution() {
        fftwf_destroy_plan(forward);
        fftwf_destroy_plan(backward);
        fftwf_free(window);
        fftwf_free(time);
        fftwf_free(spectrum);
        fftwf_free(responseSpectrum);
    }

    void process(const float* in, float* out, size_t count) {
        std::memmove(window, window + count, (n - count) * sizeof(float));
        std::memcpy(window + n - count, in, count * sizeof(float));
        fftwf_execute(forward);
        for (size_t k = 0; k <= n / 2; ++k) {
            const float re =
                spectrum[k][0] * responseSpectrum[k][0] - spectrum[k][1] * responseSpectrum[k][1];
            const float im =
                spectrum[k][0] * responseSpectrum[k][1] + spectrum[k][1] * responseSpectrum[k][0];
            spectrum[k][0] = re;
            spectrum[k][1] = im;
        }
        fftwf_execute(backward);
        const float scale = 1.0f / static_cast<float>(n);
        for (size_t i = 0; i < count; ++i) {
            out[i] = time[n - count + i] * scale;
        }
    }

private:
    static float* allocate(size_t count) { return fftwf_alloc_real(count); }

    size_t n;
    float* window;
    float* time;
    fftwf_complex* spectrum;
    fftwf_complex* responseSpectrum;
    fftwf_plan forward;
    fftwf_plan backward;
};

void BM_PlainFftwConvolution(benchmark::State& state) {
    const auto block = static_cast<size_t>(state.range(0));
    const size_t size =
        nodara::Convolver::fftSizeFor(static_cast<std::uint32_t>(block), responseLength);
    PlainConvolution plain(noise(responseLength, 1), size);
    const std::vector<float> input = noise(block, 2);
    std::vector<float> output(block);
    for (auto _ : state) {
        plain.process(input.data(), output.data(), block);
        benchmark::DoNotOptimize(output[0]);
    }
    state.counters["fft_size"] = static_cast<double>(size);
    reportPerSample(state, block);
}

} // namespace

BENCHMARK(BM_Convolver)->Arg(1)->Arg(64)->Arg(256);
BENCHMARK(BM_PlainFftwConvolution)->Arg(64)->Arg(256);
