#include <memory>

#include "cli/Command.h"
#include "cli/ErrorText.h"
#include "cli/Escape.h"

namespace tessera {
namespace {

void login(CommandContext& context, const std::string& name) {
  auto request = context.session().admin().loginRequest();
  request.setAccountName(name.c_str());
  auto answer = context.session().wait(request.send());
  throwIfError(answer.getError());
  if (context.json) {
    printJson({{"account", name}});
  } else {
    printLine("Signed in as " + escaped(name));
  }
}

void logout(CommandContext& context) {
  auto answer = context.session().wait(context.session().admin().logoutRequest().send());
  throwIfError(answer.getError());
  if (context.json) {
    printJson({{"account", nullptr}});
  } else {
    printLine("Signed out. Documents that are here stay readable.");
  }
}

void whoami(CommandContext& context) {
  auto answer = context.session().wait(context.session().admin().statusRequest().send());
  const std::string name = answer.getStatus().getAccountName().cStr();
  if (name.empty()) {
    throw CliError("GVTesseraErrorDomain", 2,
                   "Nobody is signed in. Sign in with: tessera login NAME");
  }
  if (context.json) {
    printJson({{"account", name}});
  } else {
    printLine(escaped(name));
  }
}

}  // namespace

void addAccountCommands(CLI::App& app, CommandContext& context) {
  auto name = std::make_shared<std::string>();
  auto* in = app.add_subcommand("login", "Sign in; the embedded cloud makes a new account");
  in->add_option("NAME", *name, "The account's name")->required();
  addJsonFlag(*in, context);
  in->footer("\nExample:\n  tessera login ada");
  in->callback([&context, name] { login(context, *name); });

  auto* out = app.add_subcommand("logout", "Sign out; documents that are here stay readable");
  addJsonFlag(*out, context);
  out->callback([&context] { logout(context); });

  auto* who = app.add_subcommand("whoami", "Say who is signed in; status 1 when nobody is");
  addJsonFlag(*who, context);
  who->callback([&context] { whoami(context); });
}

}  // namespace tessera
