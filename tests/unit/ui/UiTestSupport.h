#pragma once

// What the toolkit tests share: the toolkit's headers, a fresh test platform per test, and
// short names for the lists they compare.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::ui {

using Lines = std::vector<std::string>;
using Views = std::vector<std::shared_ptr<View>>;

class UiTest : public ::testing::Test {
  protected:
    testing::TestPlatform platform;
};

}  // namespace quillgate::ui
