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
    const std::size_t n = factor.size;
    SquareMatrix inverse = zeroMatrix(n);
    std::vector<double> unit(n, 0.0);
    for (std::size_t column = 0; column < n; ++column) {
        unit[column] = 1.0;
        const std::vector<double> solved = solveCholesky(factor, unit);
        unit[column] = 0.0;
        for (std::size_t row = 0; row < n; ++row) entry(inverse, row, column) = solved[row];
    }
    // The two halves differ in the last bits; the lower one is kept so that a cofactor
    // reads the same whichever way round a pair names its scans.
    for (std::size_t row = 0; row < n; ++row) {
        for (std::size_t column = row + 1; column < n; ++column) {
            entry(inverse, row, column) = entry(inverse, column, row);
        }
    }
    return inverse;
}

}  // namespace sorvek
