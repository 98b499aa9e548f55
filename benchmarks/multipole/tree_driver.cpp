// Runs the multipole tree once on charges read from a binary file and writes the results.
//   tree_driver <in> <out> <levels> <terms> <theta> <periodic> <side> [repeats [fft_block]]
// <in>: N, then x[N], y[N], z[N], q[N] as float64 (N itself as float64); the box is the cube
// [0, side)^3; fft_block 0 (the default) selects the direct multipole-to-local transfer, a
// positive value the FFT transfer with that block size. <out>: potential[N], fx[N], fy[N], fz[N] as
// float64 (force = q E, Coulomb constant 1). Prints the best wall time and the best processor time
// of the evaluation in seconds (the processor time is the fairer figure on a shared machine).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <vector>

#include "common/fatal_error.hpp"
#include "electrostatics/multipole/multipole_tree.hpp"

int main(int argc, char** argv) {
    if (argc < 8) {
        std::cerr << "usage: tree_driver in out levels terms theta periodic side [repeats "
                     "[fft_block]]\n";
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    double header = 0.0;
    in.read(reinterpret_cast<char*>(&header), sizeof header);
    const std::size_t n = static_cast<std::size_t>(header);
    std::vector<double> data(4 * n);
    in.read(reinterpret_cast<char*>(data.data()), static_cast<std::streamsize>(data.size() * 8));
    if (!in) {
        std::cerr << "short input file\n";
        return 2;
    }
    pelix::multipole::MultipoleSettings s;
    s.levels = std::atoi(argv[3]);
    s.terms = std::atoi(argv[4]);
    s.theta = std::atof(argv[5]);
    s.periodic = std::atoi(argv[6]);
    s.macroscopic_terms = s.terms;
    const double side = std::atof(argv[7]);
    s.v1 = {side, 0.0, 0.0};
    s.v2 = {0.0, side, 0.0};
    s.v3 = {0.0, 0.0, side};
    s.centre = {0.5 * side, 0.5 * side, 0.5 * side};
    const int repeats = argc > 8 ? std::atoi(argv[8]) : 1;
    const int fft_block = argc > 9 ? std::atoi(argv[9]) : 0;
    s.fft_switch = fft_block > 0 ? 1 : 0;
    s.fft_block = fft_block > 0 ? fft_block : 4;
    std::vector<double> out(4 * n);
    double best = 1e300, best_cpu = 1e300;
    try {
        pelix::multipole::MultipoleTree tree(s);
        for (int r = 0; r < repeats; ++r) {
            const std::clock_t cpu_start = std::clock();
            const auto start = std::chrono::steady_clock::now();
            tree.evaluate(n, &data[0], &data[n], &data[2 * n], &data[3 * n], &out[0], &out[n],
                          &out[2 * n], &out[3 * n]);
            const auto stop = std::chrono::steady_clock::now();
            best = std::min(best, std::chrono::duration<double>(stop - start).count());
            best_cpu =
                std::min(best_cpu, static_cast<double>(std::clock() - cpu_start) / CLOCKS_PER_SEC);
        }
    } catch (const pelix::FatalError& e) {
        for (const auto& line : e.lines()) {
            std::cerr << line << "\n";
        }
        return 1;
    }
    std::ofstream(argv[2], std::ios::binary)
        .write(reinterpret_cast<const char*>(out.data()),
               static_cast<std::streamsize>(out.size() * 8));
    std::printf("%.6f %.6f\n", best, best_cpu);
    return 0;
}
