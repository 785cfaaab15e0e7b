#include "toolkit/qmtool/validate/validation.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <future>

namespace qmtool {
namespace {

const Check& check_named(std::string_view name) {
  const auto& all = all_checks();
  return **std::ranges::find_if(all, [&](const Check* check) { return check->name == name; });
}

Verdict verdict_of_failure(const Check& check) {
  return check.weight == Weight::must ? Verdict::failed : Verdict::warned;
}

CheckResult judge(const Check& check, const ProbeResult& probe) {
  const auto lasted = probe.child.lasted;
  if (probe.has("skipped")) return {&check, Verdict::skipped, probe.text("skipped"), lasted};
  if (probe.has("failure")) {
    return {&check, verdict_of_failure(check), probe.text("failure"), lasted};
  }
  const bool ended_well = probe.child.ending == Ending::exited && probe.child.code == 0;
  if (probe.is_complete() && ended_well) return {&check, Verdict::passed, "", lasted};
  // A crash is never a matter of taste.
  const std::string stage = probe.has("stage") ? " " + probe.text("stage") : "";
  return {&check, Verdict::failed, "it " + probe.how_it_ended() + stage, lasted};
}

class Validation {
 public:
  Validation(const Tool& tool, const ValidationOptions& options) : tool_(tool), options_(options) {}

  std::vector<CheckResult> run() {
    find_what_holds();
    std::vector<CheckResult> results(options_.checks.size());
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
      for (std::size_t i = next++; i < results.size(); i = next++) {
        results[i] = result_of(*options_.checks[i]);
      }
    };
    std::vector<std::future<void>> workers;
    for (unsigned i = 0; i < options_.jobs; ++i) {
      workers.push_back(std::async(std::launch::async, work));
    }
    for (auto& worker : workers) worker.get();
    tell_what_is_missing(results);
    return results;
  }

 private:
  // One that is passed shows that those below it would be, too.
  void find_what_holds() {
    const auto most = std::ranges::max(options_.checks, {}, &Check::needs)->needs;
    for (auto rank = static_cast<std::size_t>(most); rank > 0; --rank) {
      foundations_.push_back(try_out(check_named(kFoundations[rank - 1])));
      if (foundations_.back().verdict != Verdict::failed) return;
    }
  }

  CheckResult result_of(const Check& check) const {
    if (const Check* missing = missing_foundation(check)) {
      return {&check, Verdict::skipped, std::string(missing->name) + " failed", {}};
    }
    const auto known = std::ranges::find(foundations_, &check, &CheckResult::check);
    return known != foundations_.end() ? *known : try_out(check);
  }

  // The lowest one that failed, if the check needs it.
  const Check* missing_foundation(const Check& check) const {
    for (std::size_t rank = 1; rank <= static_cast<std::size_t>(check.needs); ++rank) {
      const CheckResult* const result = foundation(kFoundations[rank - 1]);
      if (result != nullptr && result->verdict == Verdict::failed) return result->check;
    }
    return nullptr;
  }

  const CheckResult* foundation(std::string_view name) const {
    const auto found = std::ranges::find_if(
        foundations_, [&](const CheckResult& result) { return result.check->name == name; });
    return found != foundations_.end() ? &*found : nullptr;
  }

  // Nobody asked for it, but without it the answer would look like a good one.
  void tell_what_is_missing(std::vector<CheckResult>& results) const {
    for (const Check* check : options_.checks) {
      const Check* const missing = missing_foundation(*check);
      if (missing == nullptr || std::ranges::count(options_.checks, missing) > 0) continue;
      results.insert(results.begin(), *foundation(missing->name));
      return;
    }
  }

  CheckResult try_out(const Check& check) const {
    const SubjectOptions& subject = options_.subject;
    return judge(
        check, run_probe(tool_, "check", {check.name, subject.module, subject.group, subject.codes},
                         options_.limit));
  }

  const Tool& tool_;
  const ValidationOptions& options_;
  std::vector<CheckResult> foundations_;  // what was tried of them
};

}  // namespace

std::vector<CheckResult> validate(const Tool& tool, const ValidationOptions& options) {
  return Validation(tool, options).run();
}

void run_check(const std::vector<std::string>& arguments, Tool& tool, Report& report) {
  const Check& check = check_named(arguments.at(0));
  Subject module(tool, report, {arguments.at(1), arguments.at(2), arguments.at(3)});
  try {
    check.run(module);
  } catch (const CheckFailure& failure) {
    report.send({{"failure", failure.what()}});
  } catch (const CheckSkipped& why) {
    report.send({{"skipped", why.what()}});
  } catch (const qm::Error& error) {
    report.send({{"failure", describe(error)}});
  }
  report.enter("while the process ends");
  report.send({{"done", true}});
  if (!check.watches_the_end) end_at_once();
  std::exit(kDone);  // with the kernel loaded, as in a program that is linked with it
}

}  // namespace qmtool
