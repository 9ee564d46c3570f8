/// A root helper that the test plays.
#pragma once

#include "platform/HelperService.h"
#include "platform/JobBlessing.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace quorlin {

/// Messages wait until the test answers them.
class FakeHelperService final : public HelperService {
 public:
  struct Message {
    std::string text;  // the method and its arguments
    HelperToolConnection::StringReply reply;
    HelperToolConnection::ErrorHandler failed;
  };

  int connections = 0;
  std::vector<Message> messages;
  std::function<void()> invalidate;

  std::unique_ptr<HelperToolConnection> makeConnection(std::string_view serviceName) override {
    EXPECT_EQ(serviceName, "com.brellwick.Quorlin-Core-Helper");
    ++connections;
    return std::make_unique<Connection>(*this);
  }

  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const Message& message : messages) texts.push_back(message.text);
    return texts;
  }

  /// Answers everything that waits; without a reply, as a helper that cannot be reached.
  void answerAll(const std::optional<std::string>& reply) {
    for (const Message& message : std::exchange(messages, {})) {
      reply ? message.reply(*reply) : message.failed();
    }
  }

 private:
  class Connection final : public HelperToolConnection {
   public:
    explicit Connection(FakeHelperService& service) : service_(service) {}
    ~Connection() override { service_.answerAll(std::nullopt); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    void setInvalidationHandler(std::function<void()> handler) override {
      service_.invalidate = std::move(handler);
    }
    void resume() override {}
    void connectWithEndpoint(StringReply reply, ErrorHandler failed) override {
      service_.messages.push_back({"endpoint", std::move(reply), std::move(failed)});
    }
    void getVersion(StringReply reply, ErrorHandler failed) override {
      service_.messages.push_back({"version", std::move(reply), std::move(failed)});
    }
    void getCoreMetrics(const std::string& key, const std::vector<std::string>& params, StringReply reply,
                        ErrorHandler failed) override {
      std::string text = "metrics " + key;
      for (const std::string& parameter : params) text += " " + parameter;
      service_.messages.push_back({std::move(text), std::move(reply), std::move(failed)});
    }
    void uninstallHelper(const std::string& key, StringReply reply, ErrorHandler failed) override {
      service_.messages.push_back({"uninstall " + key, std::move(reply), std::move(failed)});
    }
    void limitCharge(const std::string& key, bool mode, StringReply reply, ErrorHandler failed) override {
      service_.messages.push_back(
          {"charge " + key + (mode ? " release" : " hold"), std::move(reply), std::move(failed)});
    }

   private:
    FakeHelperService& service_;
  };
};

/// The user types a password until the test answers.
class FakeJobBlessing final : public JobBlessing {
 public:
  bool hasAuthorizations = true;
  std::vector<std::string> blessed;  // the label, and the authorization's form
  std::function<void(bool installed)> answer;

  std::unique_ptr<Authorization> createAuthorization() override {
    if (!hasAuthorizations) return nullptr;
    return std::make_unique<FakeAuthorization>();
  }
  void bless(std::string_view label, const Authorization* authorization,
             std::function<void(bool installed)> completion) override {
    const std::optional<Data> form = authorization == nullptr ? std::nullopt : authorization->externalForm();
    blessed.push_back(std::string(label) + (form ? " with authorization" : " without authorization"));
    answer = std::move(completion);
  }

 private:
  struct FakeAuthorization final : Authorization {
    std::optional<Data> externalForm() const override { return Data(32, 7); }
  };
};

}  // namespace quorlin
