// Runs the conformance vectors of a file, each as a test.
//
// usage: vector_tests FILE.json [gtest options]; records.json lies beside the file.
#include <gtest/gtest.h>

#include <cstdio>
#include <exception>

#include "tests/toolkit/vectors/vector_test.h"

namespace {

using vectors::Json;
using vectors::Tables;
using vectors::VectorTest;

void register_vectors(const std::string& suite, const Tables& tables, const Json& file) {
  for (const Json& vector : file.at("vectors")) {
    if (!VectorTest::is_for_this_system(vector)) continue;
    testing::RegisterTest(suite.c_str(), vector.at("name").get<std::string>().c_str(), nullptr,
                          nullptr, __FILE__, __LINE__,
                          [&tables, &vector] { return new VectorTest(tables, vector); });
  }
}

}  // namespace

int main(int count, char** arguments) try {
  testing::InitGoogleTest(&count, arguments);
  if (count != 2) {
    std::fputs("usage: vector_tests FILE.json [gtest options]\n", stderr);
    return 2;
  }
  const std::filesystem::path path = arguments[1];
  const Tables tables(path.parent_path());
  const Json file = vectors::read_json(path);
  register_vectors(path.stem().string(), tables, file);
  return RUN_ALL_TESTS();
} catch (const std::exception& problem) {
  std::fprintf(stderr, "%s\n", problem.what());
  return 2;
}
