// Walks paths through the tables of a TOML document.
#define TOML_IMPLEMENTATION
#include "toolkit/qmproperty/tree.h"

#include <utility>
#include <vector>

#include "qmproperty.h"
#include "qmsd7.h"
#include "toolkit/qmproperty/document.h"

namespace qmproperty {
namespace {

using Steps = std::vector<std::string_view>;

std::string quoted(std::string_view path) { return "'" + std::string(path) + "'"; }

Result not_found(std::string_view path) {
  return {QM_ERROR_NOT_FOUND, quoted(path) + " does not exist"};
}

Result split(std::string_view path, Steps& steps) {
  if (path.empty() || path.front() != '/') {
    return {QM_ERROR_ARGUMENT, quoted(path) + " is no path: it has to begin with '/'"};
  }
  path.remove_prefix(1);
  while (!path.empty()) {
    const std::size_t end = path.find('/');
    steps.push_back(path.substr(0, end));
    if (end == std::string_view::npos) return {};
    path.remove_prefix(end + 1);
    if (path.empty()) steps.push_back(path);  // "/a/" names the empty key below "a"
  }
  return {};
}

// Follows the steps as far as there are nodes; `left` counts the steps that remain.
template <class Node>
Node* follow(Node& root, const Steps& steps, std::size_t& left) {
  Node* node = &root;
  left = steps.size();
  for (const std::string_view step : steps) {
    auto* const table = node->as_table();
    Node* const child = table != nullptr ? table->get(step) : nullptr;
    if (child == nullptr) break;
    node = child;
    --left;
  }
  return node;
}

// Returns null where the steps lead nowhere.
template <class Node>
Node* find(Node& root, const Steps& steps) {
  std::size_t left = 0;
  Node* const node = follow(root, steps, left);
  return left == 0 ? node : nullptr;
}

bool can_be_addressed(std::string_view key) {
  return key.find_first_of("/\r\n") == std::string_view::npos;
}

}  // namespace

Result Tree::parse(std::string_view document) {
  toml::parse_result parsed = toml::parse(document);
  if (!parsed) {
    const toml::parse_error& error = parsed.error();
    const toml::source_position at = error.source().begin;
    return {QM_ERROR_DAMAGED, "line " + std::to_string(at.line) + ", column " +
                                  std::to_string(at.column) + ": " +
                                  std::string(error.description())};
  }
  root_ = std::move(parsed).table();
  return {};
}

std::string Tree::document() const { return spell_document(root_); }

Result Tree::read(std::string_view path, std::string& value) const {
  Steps steps;
  if (Result parsed = split(path, steps); !parsed) return parsed;
  const auto* const node = find<const toml::node>(root_, steps);
  if (node == nullptr) return not_found(path);
  if (node->is_table()) return {QM_ERROR_NOT_FOUND, quoted(path) + " is a node without a value"};
  const toml::value<std::string>* const text = node->as_string();
  value = text != nullptr ? text->get() : spell_value(*node);
  return {};
}

Result Tree::list(std::string_view path, std::string& names) const {
  Steps steps;
  if (Result parsed = split(path, steps); !parsed) return parsed;
  const auto* const node = find<const toml::node>(root_, steps);
  if (node == nullptr) return not_found(path);
  if (const toml::table* const table = node->as_table(); table != nullptr) {
    for (const auto& [key, child] : *table) {
      if (can_be_addressed(key.str())) names.append(key.str()).append("\r\n");
    }
  }
  return {};
}

Result Tree::write(std::string_view path, std::string_view value) {
  Steps steps;
  if (Result parsed = split(path, steps); !parsed) return parsed;
  if (steps.empty()) return {QM_ERROR_ARGUMENT, "the root cannot have a value"};
  if (steps.size() > QM_PROPERTY_MAX_DEPTH) return {QM_ERROR_RANGE, quoted(path) + " is too deep"};
  std::size_t left = 0;
  const auto* const nearest = follow<const toml::node>(root_, steps, left);
  if (left == 0 && nearest->is_table()) {
    return {QM_ERROR_ARGUMENT, quoted(path) + " is a node: remove it first"};
  }
  if (left != 0 && !nearest->is_table()) {
    return {QM_ERROR_ARGUMENT, quoted(path) + " leads through a value"};
  }
  const std::string_view name = steps.back();
  steps.pop_back();
  toml::table* table = &root_;
  for (const std::string_view step : steps) {
    table = table->insert(step, toml::table()).first->second.as_table();
  }
  table->insert_or_assign(name, std::string(value));
  return {};
}

Result Tree::remove(std::string_view path) {
  Steps steps;
  if (Result parsed = split(path, steps); !parsed) return parsed;
  if (steps.empty()) return {QM_ERROR_ARGUMENT, "the root cannot be removed"};
  const std::string_view name = steps.back();
  steps.pop_back();
  auto* const parent = find<toml::node>(root_, steps);
  toml::table* const table = parent != nullptr ? parent->as_table() : nullptr;
  return table != nullptr && table->erase(name) != 0 ? Result() : not_found(path);
}

}  // namespace qmproperty
