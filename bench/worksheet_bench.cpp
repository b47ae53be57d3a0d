// Writes one large worksheet through SheetStream and CellWriter and reports the rate.
//
// Usage: bench_worksheet [folder]   (default: a fresh temporary folder, removed afterwards)

#include "cellwriter.h"
#include "sheetstream.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

int main(int argc, char** argv)
{
    constexpr int Rows = 100000;
    constexpr int Columns = 200;

    QTemporaryDir temporary;
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : temporary.path();
    if (argc <= 1 && !temporary.isValid()) {
        std::fprintf(stderr, "cannot create a temporary folder\n");
        return 1;
    }

    // Values of every magnitude a recording holds, nearly all with 15 significant digits.
    std::mt19937_64 random(12345);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-6, 6);
    std::vector<double> values(1 << 16);
    for (double& value : values)
        value = mantissa(random) * std::pow(10.0, exponent(random));
    const std::size_t mask = values.size() - 1;

    xlsx::SheetStream file;
    xlsx::CellWriter cells;
    const auto start = std::chrono::steady_clock::now();
    try {
        file.open(folder, 1);
        file.body().write("<sheetData>");
        std::size_t next = 0;
        for (int row = 1; row <= Rows; ++row) {
            cells.newRow(file, row, Columns, row > 1);
            for (int column = 1; column <= Columns; ++column)
                cells.writeNumber(file, row, column, values[next++ & mask]);
        }
        file.finish();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "write failed: %s\n", error.what());
        return 1;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    const QString path = folder + QStringLiteral("/sheet1.xml");
    const double bytes = static_cast<double>(QFileInfo(path).size());
    const double cellCount = double(Rows) * Columns;
    std::printf("%d rows x %d cells, %.0f bytes in %.3f s\n", Rows, Columns, bytes, seconds);
    std::printf("%.1f million cells/s, %.1f MB/s\n", cellCount / seconds / 1e6, bytes / seconds / 1e6);
    return 0;
}
