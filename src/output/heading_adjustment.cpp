#include "output/heading_adjustment.h"

// The unknowns are the scans' rotations in degrees. Each accepted pair observes the
// difference of its two rotations with its full weight p, and each of the two rotations on
// its own with weight absoluteShare * p. The difference is what the overlap fixes; the own
// rotations give every group of linked scans its datum. Data snooping with a robust scale
// sets pairs aside one at a time, the worst first, until none stands out.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>

#include "output/normal_equations.h"

namespace sorvek {
namespace {

constexpr double absoluteShare = 0.25;   // weight of a pair's own rotations, share of p
constexpr double rejectionLimit = 3.5;   // robust scales a standardized residual may reach
constexpr double madToSigma = 1.4826;    // median absolute deviation of normal errors to sigma
constexpr double leastRedundancy = 0.1;  // share of a residual the other pairs must check
constexpr std::size_t leastTested = 3;   // fewer tested residuals give a group no scale
constexpr double leastScale = 1e-5;      // degrees at weight 1: ten times the file's last decimal
constexpr double leastRms = 1e-4;        // survey units: a perfect fit gets no endless weight
constexpr double greatestRms = 1000.0;   // survey units: beyond it a row is refused
constexpr double greatestRotationDeg = 180.0;
constexpr std::size_t notReached = std::numeric_limits<std::size_t>::max();

// One row that carries an observation, with its scans as indices into the distinct ids.
struct PairTerm {
    std::size_t first = 0;   // distinct scan of the row's first id
    std::size_t second = 0;  // distinct scan of the row's second id
    double firstDeg = 0.0;   // the row's rotations
    double secondDeg = 0.0;
    double weight = 0.0;   // p, scaled to a mean of 1 over the rows not refused; 0 if refused
    bool isActive = true;  // neither refused nor rejected
};

// The solution with the pairs still active: one unknown per reached scan.
struct NetworkSolution {
    bool isSolved = false;
    std::vector<std::size_t> unknownOf;  // per distinct scan: its unknown, or notReached
    std::vector<double> rotationDeg;     // per unknown
    SquareMatrix cofactor;               // inverse of the normal matrix
};

struct DistinctScans {
    std::vector<std::int32_t> ids;                // first occurrence in table order
    std::map<std::int32_t, std::size_t> indexOf;  // id to its place in ids
};

DistinctScans distinctScans(std::span<const std::int32_t> scanIds) {
    DistinctScans scans;
    for (const std::int32_t id : scanIds) {
        if (scans.indexOf.emplace(id, scans.ids.size()).second) scans.ids.push_back(id);
    }
    return scans;
}

bool isZeroForm(const RegistrationPair& row) {
    return row.firstRotationDeg == 0.0 && row.secondRotationDeg == 0.0;
}

bool isRefused(const RegistrationPair& row) {
    const bool rotationsFit = std::fabs(row.firstRotationDeg) <= greatestRotationDeg &&
                              std::fabs(row.secondRotationDeg) <= greatestRotationDeg;
    return !rotationsFit || !(row.rms >= 0.0 && row.rms <= greatestRms);
}

// The rows that carry an observation, refused ones inactive, weights scaled to mean 1.
std::vector<PairTerm> collectTerms(const DistinctScans& scans,
                                   std::span<const RegistrationPair> rows,
                                   std::vector<AdjustedPair>& pairs) {
    std::vector<PairTerm> terms;
    double weightSum = 0.0;
    std::size_t weighedCount = 0;
    for (const RegistrationPair& row : rows) {
        const auto first = scans.indexOf.find(row.firstId);
        const auto second = scans.indexOf.find(row.secondId);
        if (isZeroForm(row) || first == scans.indexOf.end() || second == scans.indexOf.end() ||
            first->second == second->second) {
            continue;
        }
        PairTerm term{first->second, second->second, row.firstRotationDeg, row.secondRotationDeg};
        AdjustedPair pair{row.firstId, row.secondId, row.firstRotationDeg - row.secondRotationDeg};
        term.isActive = !isRefused(row);
        if (term.isActive) {
            term.weight = pairWeight(row.rms, row.pointCount);
            weightSum += term.weight;
            ++weighedCount;
        } else {
            pair.status = PairStatus::refused;
        }
        terms.push_back(term);
        pairs.push_back(pair);
    }
    const double meanWeight =
        weighedCount == 0 ? 1.0 : weightSum / static_cast<double>(weighedCount);
    for (PairTerm& term : terms) term.weight = term.weight / meanWeight;
    return terms;
}

// Numbers every reached scan, in the order of the distinct ids.
std::size_t numberReachedScans(std::span<const PairTerm> terms,
                               std::vector<std::size_t>& unknownOf) {
    for (const PairTerm& term : terms) {
        if (!term.isActive) continue;
        unknownOf[term.first] = 0;
        unknownOf[term.second] = 0;
    }
    std::size_t unknownCount = 0;
    for (std::size_t& unknown : unknownOf) {
        if (unknown != notReached) unknown = unknownCount++;
    }
    return unknownCount;
}

NetworkSolution solveNetwork(std::span<const PairTerm> terms, std::size_t scanCount) {
    NetworkSolution solution;
    solution.unknownOf.assign(scanCount, notReached);
    const std::size_t unknownCount = numberReachedScans(terms, solution.unknownOf);
    SquareMatrix normal = zeroMatrix(unknownCount);
    std::vector<double> rhs(unknownCount, 0.0);
    for (const PairTerm& term : terms) {
        if (!term.isActive) continue;
        const std::size_t a = solution.unknownOf[term.first];
        const std::size_t b = solution.unknownOf[term.second];
        const double p = term.weight;
        const double q = p * absoluteShare;
        const double relativeDeg = term.firstDeg - term.secondDeg;
        entry(normal, a, a) += p + q;
        entry(normal, b, b) += p + q;
        entry(normal, a, b) -= p;
        entry(normal, b, a) -= p;
        rhs[a] += (p * relativeDeg) + (q * term.firstDeg);
        rhs[b] += (q * term.secondDeg) - (p * relativeDeg);
    }
    if (!factorCholesky(normal)) return solution;
    solution.rotationDeg = solveCholesky(normal, rhs);
    solution.cofactor = invertCholesky(normal);
    solution.isSolved = true;
    return solution;
}

// The standardized residual of an observation of weight `weight` whose cofactor in the
// adjusted observations is `adjustedCofactor`; NaN when the other pairs check less than
// leastRedundancy of it, so that it cannot be tested.
double standardized(double residualDeg, double weight, double adjustedCofactor) {
    const double redundancy = 1.0 - (weight * adjustedCofactor);
    if (!(redundancy >= leastRedundancy)) return std::numeric_limits<double>::quiet_NaN();
    return (residualDeg * std::sqrt(weight)) / std::sqrt(redundancy);
}

double relativeResidual(const NetworkSolution& solution, const PairTerm& term) {
    const double a = solution.rotationDeg[solution.unknownOf[term.first]];
    const double b = solution.rotationDeg[solution.unknownOf[term.second]];
    return (a - b) - (term.firstDeg - term.secondDeg);
}

// The standardized residuals of a term's three observations: the difference, and each
// rotation on its own.
struct TermTest {
    double relative = 0.0;
    double firstOwn = 0.0;
    double secondOwn = 0.0;
};

TermTest testTerm(const NetworkSolution& solution, const PairTerm& term) {
    const std::size_t a = solution.unknownOf[term.first];
    const std::size_t b = solution.unknownOf[term.second];
    const SquareMatrix& q = solution.cofactor;
    const double ownWeight = term.weight * absoluteShare;
    const double differenceCofactor = (entry(q, a, a) + entry(q, b, b)) - (2.0 * entry(q, a, b));
    TermTest test;
    test.relative = standardized(relativeResidual(solution, term), term.weight, differenceCofactor);
    test.firstOwn =
        standardized(solution.rotationDeg[a] - term.firstDeg, ownWeight, entry(q, a, a));
    test.secondOwn =
        standardized(solution.rotationDeg[b] - term.secondDeg, ownWeight, entry(q, b, b));
    return test;
}

// 1.4826 times the median of the magnitudes, never below leastScale; 0 when fewer than
// leastTested were tested, so that the group tests nothing.
double robustScale(std::vector<double> magnitudes) {
    if (magnitudes.size() < leastTested) return 0.0;
    std::sort(magnitudes.begin(), magnitudes.end());
    const std::size_t middle = magnitudes.size() / 2;
    const double median = magnitudes.size() % 2 == 1
                              ? magnitudes[middle]
                              : 0.5 * (magnitudes[middle - 1] + magnitudes[middle]);
    return std::max(madToSigma * median, leastScale);
}

// How many robust scales a standardized residual lies out; 0 when it cannot be tested.
double scalesOut(double standardizedResidual, double scale) {
    if (scale == 0.0 || std::isnan(standardizedResidual)) return 0.0;
    return std::fabs(standardizedResidual) / scale;
}

// The observation the robust loop sets aside next, with its pair.
struct Rejection {
    std::size_t term = notReached;  // none when every observation lies within the limit
    PairStatus status = PairStatus::accepted;
    double missDeg = 0.0;  // its residual
};

// Considers one term's three observations against the worst found so far.
void considerTerm(const NetworkSolution& solution, const PairTerm& term, std::size_t index,
                  const TermTest& test, double relativeScale, double ownScale, double& worstScales,
                  Rejection& worst) {
    const std::size_t a = solution.unknownOf[term.first];
    const std::size_t b = solution.unknownOf[term.second];
    const Rejection candidates[] = {
        {index, PairStatus::relativeRejected, relativeResidual(solution, term)},
        {index, PairStatus::firstRotationRejected, solution.rotationDeg[a] - term.firstDeg},
        {index, PairStatus::secondRotationRejected, solution.rotationDeg[b] - term.secondDeg},
    };
    const double scales[] = {scalesOut(test.relative, relativeScale),
                             scalesOut(test.firstOwn, ownScale),
                             scalesOut(test.secondOwn, ownScale)};
    for (std::size_t k = 0; k < 3; ++k) {
        if (scales[k] > worstScales) {
            worstScales = scales[k];
            worst = candidates[k];
        }
    }
}

// The observation furthest beyond its group's robust scale, the first in file order on a
// tie, or none when every one lies within the limit. Differences and own rotations are two
// groups with a scale each: a pair that failed shows in its difference where loops check
// it, and in its own rotations where the scans' other pairs agree among themselves.
Rejection worstObservation(const NetworkSolution& solution, std::span<const PairTerm> terms) {
    std::vector<TermTest> tests(terms.size());
    std::vector<double> relativeMagnitudes;
    std::vector<double> ownMagnitudes;
    for (std::size_t index = 0; index < terms.size(); ++index) {
        if (!terms[index].isActive) continue;
        tests[index] = testTerm(solution, terms[index]);
        for (const double own : {tests[index].firstOwn, tests[index].secondOwn}) {
            if (!std::isnan(own)) ownMagnitudes.push_back(std::fabs(own));
        }
        if (!std::isnan(tests[index].relative))
            relativeMagnitudes.push_back(std::fabs(tests[index].relative));
    }
    const double relativeScale = robustScale(std::move(relativeMagnitudes));
    const double ownScale = robustScale(std::move(ownMagnitudes));
    Rejection worst;
    double worstScales = rejectionLimit;
    for (std::size_t index = 0; index < terms.size(); ++index) {
        if (!terms[index].isActive) continue;
        considerTerm(solution, terms[index], index, tests[index], relativeScale, ownScale,
                     worstScales, worst);
    }
    return worst;
}

// Square root of the weighted square sum of every residual over the redundancy.
double sigmaZero(const NetworkSolution& solution, std::span<const PairTerm> terms,
                 std::size_t unknownCount) {
    double squareSum = 0.0;
    std::size_t observationCount = 0;
    for (const PairTerm& term : terms) {
        if (!term.isActive) continue;
        const double relative = relativeResidual(solution, term);
        const double first = solution.rotationDeg[solution.unknownOf[term.first]] - term.firstDeg;
        const double second =
            solution.rotationDeg[solution.unknownOf[term.second]] - term.secondDeg;
        const double q = term.weight * absoluteShare;
        squareSum +=
            ((term.weight * relative) * relative) + ((q * first) * first) + ((q * second) * second);
        observationCount += 3;
    }
    if (observationCount <= unknownCount) return 0.0;
    return std::sqrt(squareSum / static_cast<double>(observationCount - unknownCount));
}

// Rotations, deviations and counts of every scan of the table; the plain mean where no
// accepted pair reaches the scan.
void fillScans(const NetworkSolution& solution, const DistinctScans& scans,
               std::span<const PairTerm> terms, std::span<const RotationEntry> entries,
               HeadingAdjustment& result) {
    for (AdjustedScan& scan : result.scans) {
        const std::size_t distinct = scans.indexOf.at(scan.scanId);
        const std::size_t unknown = solution.isSolved ? solution.unknownOf[distinct] : notReached;
        scan.meanDeg = rotationStatsOf(entries, scan.scanId).meanDeg;
        scan.isReached = unknown != notReached;
        scan.rotationDeg = scan.isReached ? solution.rotationDeg[unknown] : scan.meanDeg;
        if (!scan.isReached) continue;
        scan.sigmaDeg = result.sigmaZeroDeg * std::sqrt(entry(solution.cofactor, unknown, unknown));
        for (const PairTerm& term : terms) {
            if (term.isActive && (term.first == distinct || term.second == distinct))
                ++scan.pairsUsed;
        }
    }
}

// Each pair's residual against the rotations the scans are given, rejected ones included.
void fillPairResiduals(const DistinctScans& scans, std::span<const PairTerm> terms,
                       HeadingAdjustment& result) {
    std::vector<double> appliedDeg(scans.ids.size(), 0.0);
    for (const AdjustedScan& scan : result.scans)
        appliedDeg[scans.indexOf.at(scan.scanId)] = scan.rotationDeg;
    for (std::size_t index = 0; index < terms.size(); ++index) {
        const PairTerm& term = terms[index];
        result.pairs[index].residualDeg =
            (appliedDeg[term.first] - appliedDeg[term.second]) - (term.firstDeg - term.secondDeg);
        result.pairs[index].weight = term.weight;
    }
}

}  // namespace

double pairWeight(double rms, std::uint32_t pointCount) {
    const double usedRms = std::max(rms, leastRms);
    const double usedCount = pointCount == 0 ? 1.0 : static_cast<double>(pointCount);
    return usedCount / ((usedRms * usedRms) * usedRms);
}

HeadingAdjustment adjustHeadings(std::span<const std::int32_t> scanIds,
                                 std::span<const RegistrationPair> rows) {
    const DistinctScans scans = distinctScans(scanIds);
    HeadingAdjustment result;
    std::vector<PairTerm> terms = collectTerms(scans, rows, result.pairs);
    NetworkSolution solution = solveNetwork(terms, scans.ids.size());
    while (solution.isSolved) {
        const Rejection worst = worstObservation(solution, terms);
        if (worst.term == notReached) break;
        terms[worst.term].isActive = false;
        result.pairs[worst.term].status = worst.status;
        result.pairs[worst.term].missDeg = worst.missDeg;
        solution = solveNetwork(terms, scans.ids.size());
    }
    result.isSolved = solution.isSolved;
    if (solution.isSolved)
        result.sigmaZeroDeg = sigmaZero(solution, terms, solution.rotationDeg.size());
    for (const std::int32_t id : scanIds) result.scans.push_back(AdjustedScan{id});
    const std::vector<RotationEntry> entries = rotationEntriesOf(rows);
    fillScans(solution, scans, terms, entries, result);
    fillPairResiduals(scans, terms, result);
    return result;
}

}  // namespace sorvek
