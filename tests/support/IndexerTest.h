#pragma once

// Fixture of the indexer's whole-scan tests: a fresh fixed-path tree and, at `mount`, a sample
// library of the generator's smallest size. The tests that include it define TANGOR_INDEX and
// TANGOR_MAKE_SAMPLE_LIBRARY and have the generator's folder on their include path.

#include <string>
#include <vector>

#include "SampleLayout.h"
#include "support/TestSupport.h"

namespace tangor::test {

class IndexerTest : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        makeLibrary(mount, sample::kMinimumFiles);
    }

    static void makeLibrary(const std::string& folder, int files,
                            const std::vector<std::string>& options = {}) {
        std::vector<std::string> command = {TANGOR_MAKE_SAMPLE_LIBRARY, folder, "--files",
                                            std::to_string(files)};
        command.insert(command.end(), options.begin(), options.end());
        const ProgramResult made = runProgram(command);
        ASSERT_EQ(made.status, 0) << made.standardError;
    }

    static std::string database(const std::string& device = "usb") {
        return databaseDirectory() + device + ".tangor";
    }
    std::string path(const std::string& relative) const { return mount + "/" + relative; }
    std::string path(int file) const { return path(sample::audioFile(file).path); }

    // tangor-index scan --quiet of device `device`; `arguments` are options and mount points.
    static ProgramResult scan(const std::vector<std::string>& arguments,
                              const std::string& device = "usb") {
        std::vector<std::string> command = {TANGOR_INDEX, "scan", "--device", device, "--quiet"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runProgram(command);
    }

    // The first row of `sql` on the database file `file`, "<no row>" for none.
    static std::string value(const std::string& sql, const std::string& file = database()) {
        const std::vector<std::string> rows = queryRows(file, sql);
        return rows.empty() ? "<no row>" : rows.front();
    }

    TempDir tree;
    std::string mount = tree.file("usb");
};

}  // namespace tangor::test
