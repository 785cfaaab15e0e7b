// Definitions that must not compile, one for each value of REFUSED, and with 0 one that must.
#include <qm/module.hpp>

namespace {

struct Other {
  void stop() {}
};
struct Motor {
  void stop() {}
  void turn(int) {}
  bool runs() { return true; }
};

constexpr const char* kName = REFUSED == 1 ? "" : "motor";
constexpr const char* kVersion = REFUSED == 2 ? "1.2.3" : REFUSED == 3 ? "1.2.3.256" : "1.2.3.4";
constexpr std::uint32_t kFirst = REFUSED == 4 ? 0x10040000 : 0x13000000;
constexpr std::uint32_t kSecond = REFUSED == 5 ? kFirst : 0x13000001;

#if REFUSED == 6
constexpr auto kHandler = qm::handler<&Other::stop>;
#elif REFUSED == 7
constexpr auto kHandler = qm::handler<&Motor::turn>;
#elif REFUSED == 8
constexpr auto kHandler = qm::handler<&Motor::runs>;
#else
constexpr auto kHandler = qm::handler<&Motor::stop>;
#endif

constexpr auto kModule =
    qm::define_module<Motor>({.name = kName, .version = kVersion, .description = "Turns"},
                             {{kFirst, qm::handler<&Motor::stop>}, {kSecond, kHandler}});

}  // namespace

QM_EXPORT_MODULE(kModule);
