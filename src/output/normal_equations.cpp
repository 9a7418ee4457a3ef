#include "output/normal_equations.h"

// Every sum runs in index order, so the same matrix gives the same bits on every machine.

#include <cmath>

namespace sorvek {

bool factorCholesky(SquareMatrix& matrix) {
    const std::size_t n = matrix.size;
    for (std::size_t j = 0; j < n; ++j) {
        double pivot = entry(matrix, j, j);
        for (std::size_t k = 0; k < j; ++k) pivot -= entry(matrix, j, k) * entry(matrix, j, k);
        if (!(pivot > 0.0) || !std::isfinite(pivot)) return false;  // NaN fails the first test
        const double diagonal = std::sqrt(pivot);
        entry(matrix, j, j) = diagonal;
        for (std::size_t i = j + 1; i < n; ++i) {
            double sum = entry(matrix, i, j);
            for (std::size_t k = 0; k < j; ++k) sum -= entry(matrix, i, k) * entry(matrix, j, k);
            entry(matrix, i, j) = sum / diagonal;
        }
    }
    return true;
}

std::vector<double> solveCholesky(const SquareMatrix& factor, std::span<const double> rhs) {
    const std::size_t n = factor.size;
    std::vector<double> y(n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        double sum = rhs[i];
        for (std::size_t k = 0; k < i; ++k) sum -= entry(factor, i, k) * y[k];
        y[i] = sum / entry(factor, i, i);
    }
    std::vector<double> x(n, 0.0);
    for (std::size_t step = 0; step < n; ++step) {
        const std::size_t i = n - 1 - step;
        double sum = y[i];
        for (std::size_t k = i + 1; k < n; ++k) sum -= entry(factor, k, i) * x[k];
        x[i] = sum / entry(factor, i, i);
    }
    return x;
}

SquareMatrix invertCholesky(const SquareMatrix& factor) {
    // With M = L^-1, the inverse is M^T M. M is built and kept transposed (row j of
    // `inverseFactor` is column j of M), so that every inner sum runs along two rows.
    const std::size_t n = factor.size;
    SquareMatrix inverseFactor = zeroMatrix(n);
    for (std::size_t j = 0; j < n; ++j) {
        entry(inverseFactor, j, j) = 1.0 / entry(factor, j, j);
        for (std::size_t i = j + 1; i < n; ++i) {
            double sum = 0.0;
            for (std::size_t k = j; k < i; ++k)
                sum += entry(factor, i, k) * entry(inverseFactor, j, k);
            entry(inverseFactor, j, i) = -sum / entry(factor, i, i);
        }
    }
    SquareMatrix inverse = zeroMatrix(n);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = i; j < n; ++j) {
            double sum = 0.0;
            for (std::size_t k = j; k < n; ++k)
                sum += entry(inverseFactor, i, k) * entry(inverseFactor, j, k);
            entry(inverse, i, j) = sum;
            entry(inverse, j, i) = sum;  // exactly symmetric, whichever way a pair names its scans
        }
    }
    return inverse;
}

}  // namespace sorvek
