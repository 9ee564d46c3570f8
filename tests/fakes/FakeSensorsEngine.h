/// A sensors engine that the test plays.
#pragma once

#include "platform/SensorsEngine.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// An engine whose values are their own names; what it is asked is written down in order.
struct FakeEngine {
  std::vector<std::string> calls;
  std::string missing;  // the accessor that has no value
  Array activities = {Array{1.0}, Array{2.0}};

  SensorsEngineFactory factory() {
    return {[this] { return std::make_unique<Engine>(*this); },
            [this] { return std::make_unique<Holder>(*this); }};
  }

 private:
  struct Engine final : QuorlinSensorsEngine {
    explicit Engine(FakeEngine& given) : fake(given) {}
    std::unique_ptr<SensorsReading> getSensorsInfo(StatisticsData& /*fresh*/) override {
      fake.calls.emplace_back("getSensorsInfo");
      return std::make_unique<SensorsReading>();
    }
    FakeEngine& fake;
  };

  struct Holder final : StatisticsData {
    explicit Holder(FakeEngine& given) : fake(given) {}
    ~Holder() override { fake.calls.emplace_back("released"); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    std::optional<PropertyList> answer(const char* name) const {
      fake.calls.emplace_back(name);
      return fake.missing == name ? std::nullopt : std::optional<PropertyList>(name);
    }
    void populateStatisticsDataFrom(const SensorsReading& /*reading*/) override {
      fake.calls.emplace_back("populate");
    }
    std::optional<PropertyList> sensors_temperature() const override { return answer("temperature"); }
    std::optional<PropertyList> sensors_temperatureData() const override { return answer("temperatureData"); }
    std::optional<PropertyList> sensors_temperatureMini() const override { return answer("temperatureMini"); }
    std::optional<PropertyList> sensors_temperatureMiniData() const override {
      return answer("temperatureMiniData");
    }
    std::optional<PropertyList> sensors_fans() const override { return answer("fans"); }
    std::optional<PropertyList> sensors_fansData() const override { return answer("fansData"); }
    Array diskIO_activities() const override {
      fake.calls.emplace_back("activities");
      return fake.activities;
    }
    std::optional<PropertyList> diskIO_read() const override { return answer("read"); }
    std::optional<PropertyList> diskIO_write() const override { return answer("write"); }
    FakeEngine& fake;
  };
};

}  // namespace quorlin
