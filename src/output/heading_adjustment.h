#pragma once
// One consistent rotation per scan from all the pairs of a registration result file: a
// weighted least-squares adjustment of the pairs' relative headings, tied to their
// rotations, with a robust loop that sets aside pairs whose residual is far beyond the rest.

#include <cstdint>
#include <span>
#include <vector>

#include "output/rotation_table.h"

namespace sorvek {

// One scan of the table after the adjustment.
struct AdjustedScan {
    std::int32_t scanId = 0;     // as in the scan table
    double rotationDeg = 0.0;    // adjusted; the plain mean when no accepted pair reaches it
    double sigmaDeg = 0.0;       // standard deviation of the adjusted rotation; 0 if not reached
    double meanDeg = 0.0;        // plain mean of its entries, as the stage would apply it
    std::int32_t pairsUsed = 0;  // accepted pairs that reach it
    bool isReached = false;      // some accepted pair reaches it
};

// What became of a pair: used, refused for its numbers, or set aside by the robust loop
// for the observation of it that stood out.
enum class PairStatus {
    accepted,
    refused,                 // a rotation beyond a half turn, or an RMS no pair can have
    relativeRejected,        // its relative heading
    firstRotationRejected,   // its rotation of the first scan
    secondRotationRejected,  // its rotation of the second scan
};

// One row of the file that carries an observation, in file order.
struct AdjustedPair {
    std::int32_t firstId = 0;  // scan ids as the row gives them
    std::int32_t secondId = 0;
    double relativeDeg = 0.0;  // first rotation minus second rotation, as observed
    double residualDeg = 0.0;  // applied first minus applied second, minus the observation
    double weight = 0.0;       // of the relative heading; 1 is the mean over the job's pairs
    PairStatus status = PairStatus::accepted;
    double missDeg = 0.0;  // residual of the observation that stood out, when rejected
};

struct HeadingAdjustment {
    std::vector<AdjustedScan> scans;  // one per scan of the table, in table order
    std::vector<AdjustedPair> pairs;  // one per row that carries an observation
    double sigmaZeroDeg = 0.0;        // a posteriori standard deviation of weight 1
    bool isSolved = true;             // false when the normal equations would not factor
};

// A row carries an observation when it is of the rotation form (not both rotations exactly
// 0.0) and names two different scans of the table. Deterministic: same input, same bits.
HeadingAdjustment adjustHeadings(std::span<const std::int32_t> scanIds,
                                 std::span<const RegistrationPair> rows);

// The weight a row's RMS and point count give its relative heading, before the job's mean
// weight is scaled to 1: the count over the cube of the RMS, with the RMS taken as at least
// 0.0001 and the count as at least 1. Noise alone would give the square; the third power
// is there because an RMS that stays high after solving mostly means that the solver
// stopped short of the best fit.
double pairWeight(double rms, std::uint32_t pointCount);

}  // namespace sorvek
