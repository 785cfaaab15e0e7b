// Variants beside their peers: GLib's GVariant and nlohmann's json.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "include/qmsd7.h"

namespace {

qm_variant* create(std::int32_t type, std::int32_t size, const void* data,
                   const qm_wchar* name = nullptr) {
  qm_variant_create record{nullptr, 0, name, type, size, data != nullptr ? 1 : 0, data};
  qm_call(0, QM_CALL_VARIANTCREATE, &record);
  return record.variant;
}

void release(qm_variant* variant) { qm_call(0, QM_CALL_VARIANTRELEASE, variant); }

void add_item(qm_variant* holder, qm_variant* item) {
  qm_variant_child record{holder, QM_FIND_LAST, 0, 0, nullptr, item};
  qm_call(0, QM_CALL_VARIANTINSERTITEM, &record);
  release(item);
}

// ---- Create and release ----

void ScalarCreateRelease(benchmark::State& state) {
  const std::int32_t value = 42;
  for (auto _ : state) release(create(QM_TYPE_SIGNED, 4, &value));
}
BENCHMARK(ScalarCreateRelease);

void ScalarCreateRelease_GVariant(benchmark::State& state) {
  for (auto _ : state) g_variant_unref(g_variant_ref_sink(g_variant_new_int32(42)));
}
BENCHMARK(ScalarCreateRelease_GVariant);

void TextCreateRelease(benchmark::State& state) {
  for (auto _ : state) release(create(QM_TYPE_TEXT, 17, "sixteen letters!"));
}
BENCHMARK(TextCreateRelease);

void TextCreateRelease_GVariant(benchmark::State& state) {
  for (auto _ : state) {
    g_variant_unref(g_variant_ref_sink(g_variant_new_string("sixteen letters!")));
  }
}
BENCHMARK(TextCreateRelease_GVariant);

void AddReferenceRelease(benchmark::State& state) {
  const std::int32_t value = 42;
  qm_variant* variant = create(QM_TYPE_SIGNED, 4, &value);
  for (auto _ : state) {
    qm_call(0, QM_CALL_VARIANTREF, variant);
    release(variant);
  }
  release(variant);
}
BENCHMARK(AddReferenceRelease);

void AddReferenceRelease_GVariant(benchmark::State& state) {
  GVariant* variant = g_variant_ref_sink(g_variant_new_int32(42));
  for (auto _ : state) {
    g_variant_ref(variant);
    g_variant_unref(variant);
  }
  g_variant_unref(variant);
}
BENCHMARK(AddReferenceRelease_GVariant);

// ---- Conversions ----

void convert(benchmark::State& state, qm_variant* variant, std::int32_t type, std::int32_t size) {
  char target[64];
  for (auto _ : state) {
    qm_variant_convert record{variant, 0, type, size, 1, target, size};
    qm_call(0, QM_CALL_VARIANTCONVERT, &record);
    benchmark::DoNotOptimize(target);
  }
  release(variant);
}

void print(benchmark::State& state, GVariant* variant) {
  g_variant_ref_sink(variant);
  for (auto _ : state) g_free(g_variant_print(variant, FALSE));
  g_variant_unref(variant);
}

void IntegerToText(benchmark::State& state) {
  const std::int32_t value = 1234567;
  convert(state, create(QM_TYPE_SIGNED, 4, &value), QM_TYPE_TEXT, 64);
}
BENCHMARK(IntegerToText);

void IntegerToText_GVariant(benchmark::State& state) { print(state, g_variant_new_int32(1234567)); }
BENCHMARK(IntegerToText_GVariant);

void TextToInteger(benchmark::State& state) {
  convert(state, create(QM_TYPE_TEXT, 8, "1234567"), QM_TYPE_SIGNED, 8);
}
BENCHMARK(TextToInteger);

void TextToInteger_GVariant(benchmark::State& state) {
  for (auto _ : state) {
    g_variant_unref(g_variant_parse(G_VARIANT_TYPE_INT32, "1234567", nullptr, nullptr, nullptr));
  }
}
BENCHMARK(TextToInteger_GVariant);

void FloatingToText(benchmark::State& state) {
  const double value = 3.14159265;
  convert(state, create(QM_TYPE_FLOATING, 8, &value), QM_TYPE_TEXT, 64);
}
BENCHMARK(FloatingToText);

void FloatingToText_GVariant(benchmark::State& state) {
  print(state, g_variant_new_double(3.14159265));
}
BENCHMARK(FloatingToText_GVariant);

// ---- Paths ----

constexpr int kChildren = 16;

template <class Text>
Text name_of(int child) {
  Text name;
  for (const char letter : {'c', 'h', 'i', 'l', 'd', static_cast<char>('a' + child)}) {
    name += static_cast<typename Text::value_type>(letter);
  }
  return name;
}

// The last child of each level has children of its own.
qm_variant* make_tree(int levels, const qm_wchar* name) {
  qm_variant* node = create(QM_TYPE_CONTAINER, 0, nullptr, name);
  for (int child = 0; levels != 0 && child < kChildren; ++child) {
    const auto child_name = name_of<std::basic_string<qm_wchar>>(child);
    add_item(node, make_tree(child == kChildren - 1 ? levels - 1 : 0, child_name.c_str()));
  }
  return node;
}

void Path(benchmark::State& state) {
  qm_variant* root = make_tree(3, QM_W("root"));
  for (auto _ : state) {
    qm_variant_path_w record{root, QM_W("L,N=childp/L,N=childp/L,N=childp"), nullptr};
    qm_call(0, QM_CALL_VARIANTPATHW, &record);
    release(record.result);
  }
  release(root);
}
BENCHMARK(Path);

nlohmann::json make_json(int levels) {
  nlohmann::json node = nlohmann::json::object();
  for (int child = 0; levels != 0 && child < kChildren; ++child) {
    node[name_of<std::string>(child)] = make_json(child == kChildren - 1 ? levels - 1 : 0);
  }
  return node;
}

void Path_nlohmann(benchmark::State& state) {
  const nlohmann::json root = make_json(3);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&root.at(nlohmann::json::json_pointer("/childp/childp/childp")));
  }
}
BENCHMARK(Path_nlohmann);

// ---- Linear growth ----

qm_variant* make_list(std::int64_t items) {
  qm_variant* list = create(QM_TYPE_CONTAINER, 0, nullptr);
  for (std::int32_t item = 0; item < items; ++item) {
    add_item(list, create(QM_TYPE_SIGNED, 4, &item, QM_W("item")));
  }
  return list;
}

void DeepCopy(benchmark::State& state) {
  qm_variant* list = make_list(state.range(0));
  for (auto _ : state) {
    qm_variant_copy record{list, nullptr};
    qm_call(0, QM_CALL_VARIANTCOPY, &record);
    release(record.copy);
  }
  release(list);
  state.SetComplexityN(state.range(0));
}
BENCHMARK(DeepCopy)->RangeMultiplier(10)->Range(1000, 1000000)->Complexity(benchmark::oN);

void DeepCopy_nlohmann(benchmark::State& state) {
  nlohmann::json list = nlohmann::json::array();
  for (std::int64_t item = 0; item < state.range(0) / 2; ++item) {
    list.push_back(nlohmann::json{{"item", item}});
  }
  for (auto _ : state) {
    const nlohmann::json copy(list);
    benchmark::DoNotOptimize(&copy);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(DeepCopy_nlohmann)->RangeMultiplier(10)->Range(1000, 1000000)->Complexity(benchmark::oN);

void Destruction(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    qm_variant* list = make_list(state.range(0));
    state.ResumeTiming();
    release(list);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(Destruction)->RangeMultiplier(10)->Range(1000, 1000000)->Complexity(benchmark::oN);

void ArrayConversion(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  const std::vector<double> source(static_cast<std::size_t>(count), 1.5);
  std::vector<std::int32_t> target(static_cast<std::size_t>(count));
  qm_variant_create record{nullptr, 0, nullptr, QM_TYPE_FLOATING_ARRAY, 8, count, source.data()};
  qm_call(0, QM_CALL_VARIANTCREATE, &record);
  for (auto _ : state) {
    qm_variant_array slice{record.variant, 4, QM_TYPE_SIGNED, 0, count, target.data(), 4 * count};
    qm_call(0, QM_CALL_VARIANTREADARRAY, &slice);
  }
  release(record.variant);
  state.SetComplexityN(state.range(0));
}
BENCHMARK(ArrayConversion)->RangeMultiplier(10)->Range(1000, 1000000)->Complexity(benchmark::oN);

}  // namespace
