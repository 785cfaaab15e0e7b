// A host in forty lines: asks the kernel who it is, calls a module, keeps values, meets an error.
#include <qmproperty.h>
#include <qm/client.hpp>

#include <cstdio>
#include <string>

void say(const std::string& line) { std::puts(line.c_str()); }

// A module is opened by its name and called through the handle, which closes itself.
void call_a_module(qm::Kernel kernel) {
  const auto properties = qm::ModuleHandle::open(kernel, "qmproperty");
  qm_property_write_w greeting{QM_W("/host/greeting"), QM_W("Good evening")};
  properties.call(QM_PROPERTY_WRITEW, &greeting);
  say("the host says: " + qm::read_property(kernel, "/host/greeting"));
}

// A variant is a named value that hosts and modules share; its attributes are variants, too.
void keep_values(qm::Kernel kernel) {
  const auto car = qm::Variant::create(kernel, qm::Value(), "car");
  car.attributes().add("red", "color");
  car.attributes().add(std::int16_t{120}, "speed");
  for (const qm::Variant& part : car.attributes()) {
    say(car.name() + " " + part.name() + ": " + part.as<std::string>());
  }
  car.at("speed").set(40000);  // too fast for two bytes: throws
}

int main() try {
  const qm::Kernel kernel = qm::Kernel::linked();
  say(kernel.info().description);
  call_a_module(kernel);
  keep_values(kernel);
} catch (const qm::Error& error) {
  say("error " + std::to_string(error.code()) + ": " + error.what());
}
