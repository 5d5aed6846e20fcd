// Makes the bundled demo trace: a synthetic chromatogram of our own, with four
// channels of Gaussian peaks over a gentle baseline, called bases with their peak
// positions and qualities, comments, raw data and a barcode. Deterministic: the
// same object every time, so examples/data/demo.scf can be checked against it.
#pragma once
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "zevutil/CScf.h"

namespace zevdemo {

inline constexpr const char* kDemoSequence =
    "GATTACAGGCTTAACGTCCATGGAATTCGCTAGCAGTCAAGCTTGGACTGACCTAGTTACGGAT";
inline constexpr int kDemoSpacing = 12;  // samples between peaks
inline constexpr int kDemoLead = 24;     // samples before the first peak

// A small linear congruential generator, so the noise is the same on every host.
struct DemoNoise {
  std::uint32_t state = 20240601u;
  int Next(int range) {
    state = state * 1664525u + 1013904223u;
    return int((state >> 16) % std::uint32_t(range));
  }
};

inline void MakeDemoTrace(zev::CScf& scf) {
  const std::string seq = kDemoSequence;
  const int nBases = int(seq.size());
  const int nSamples = kDemoLead * 2 + (nBases - 1) * kDemoSpacing + 1;
  DemoNoise noise;

  // Peak heights vary from base to base; a base's quality follows its height.
  std::vector<int> height(static_cast<size_t>(nBases)), peak(static_cast<size_t>(nBases));
  for (int b = 0; b < nBases; ++b) {
    height[size_t(b)] = 500 + noise.Next(900);
    peak[size_t(b)] = kDemoLead + b * kDemoSpacing + (noise.Next(3) - 1);
  }

  std::vector<double> trace[4];
  for (auto& t : trace) t.assign(size_t(nSamples), 0.0);
  const std::string order = "ACGT";
  for (int b = 0; b < nBases; ++b) {
    int ch = int(order.find(seq[size_t(b)]));
    for (int i = 0; i < nSamples; ++i) {
      double d = (i - peak[size_t(b)]) / 2.6;
      trace[ch][size_t(i)] += height[size_t(b)] * std::exp(-0.5 * d * d);
    }
  }

  scf.SetVersion300();
  scf.AddComment("NAME=zev-demo-0001");
  scf.AddComment("MACH=synthetic");
  scf.AddComment("DYEP=four Gaussian channels");
  scf.AddComment("SPAC=12.00");
  scf.AddComment("CONV=zevutil demo generator");

  scf.InitSampleSizeAndArray(unsigned(nSamples), 1, 1);
  scf.InitRawDataSizeAndArray(unsigned(nSamples), 4, 2);
  for (int i = 0; i < nSamples; ++i) {
    unsigned short v[4], raw[4];
    for (int c = 0; c < 4; ++c) {
      double value = trace[c][size_t(i)] + noise.Next(12);
      v[c] = static_cast<unsigned short>(std::lround(value));
      // Raw data: the same signal over a baseline that drifts down the run.
      raw[c] = static_cast<unsigned short>(std::lround(value + 180.0 - 0.1 * i + 15 * c));
    }
    scf.SetSample(i, v[0], v[1], v[2], v[3]);
    scf.SetRawData(i, raw[0], raw[1], raw[2], raw[3]);
  }

  scf.InitBaseSizeAndArray(unsigned(nBases));
  for (int b = 0; b < nBases; ++b) {
    unsigned char prob[4] = {0, 0, 0, 0};
    int ch = int(order.find(seq[size_t(b)]));
    prob[ch] = static_cast<unsigned char>(12 + height[size_t(b)] * 48 / 1400);
    scf.SetBase(b, unsigned(peak[size_t(b)]), prob[0], prob[1], prob[2], prob[3], seq[size_t(b)]);
  }

  scf.InitCvtDataSizeAndArray(4, 1);
  for (int i = 0; i < 4; ++i)
    scf.SetCvtData(i, static_cast<unsigned char>(i), static_cast<unsigned char>(10 * i), static_cast<unsigned char>(100 + i));
  scf.SetBarcode("DEMO-0001");
  scf.SetSubjectID("synthetic chromatogram");
}

}  // namespace zevdemo
