#include <gtest/gtest.h>

#include <utility>

#include "render_base/RenderBase.h"
#include "render_base/RenderContext.h"
#include "test_support/FrameContext.h"

namespace {

using Texts = std::vector<std::string>;

class PlainPlugin : public RenderBase {
 public:
  explicit PlainPlugin(Texts types) : types_(std::move(types)) {}

  const char* getName() const override { return "PlainPlugin"; }
  std::string getUuid() const override { return "plain"; }
  Texts input_types() const override { return types_; }
  void enableDebug(bool) override {}
  bool init(const RenderInit&) override { return true; }
  std::string getConfigList() override { return {}; }
  void setConfig(std::string) override {}
  void render(RenderContext&) override {}

 private:
  Texts types_;
};

RenderProducerStatus reportOf(const std::string& id, int32_t code = 0) {
  RenderProducerStatus report;
  report.producer_id = id;
  report.code = code;
  return report;
}

RenderInput inputOf(const std::string& id) {
  RenderInput input;
  input.producer_id = id;
  return input;
}

struct Frame : plugin_test::FrameContext {
  const RenderProducerTypeView& view() { return RenderBase::producerTypeView(ctx, "t"); }
};

TEST(RenderBaseRequirements, DuplicateTypesAreKeptInOrderWithTheFlagFalse) {
  const PlainPlugin plugin({"b", "a", "b"});
  const IRenderPlugin& base = plugin;
  const std::vector<RenderInputRequirement> requirements = base.input_requirements();
  ASSERT_EQ(requirements.size(), 3U);
  const Texts expected = {"b", "a", "b"};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(requirements[i].type, expected[i]);
    EXPECT_FALSE(requirements[i].flag);
  }
}

TEST(RenderBaseRequirements, AnEmptyTypeListYieldsAnEmptyVector) {
  EXPECT_TRUE(PlainPlugin({}).input_requirements().empty());
}

TEST(RenderBaseView, ReportsBThenAAndInputsCADGiveBACD) {
  Frame frame;
  frame.reports["t"] = {reportOf("b"), reportOf("a")};
  frame.inputs["t"] = {inputOf("c"), inputOf("a"), inputOf("d")};
  EXPECT_EQ(frame.view().producers, (Texts{"b", "a", "c", "d"}));
}

TEST(RenderBaseView, InputOnlyProducersAreSortedByBytes) {
  Frame frame;
  frame.inputs["t"] = {inputOf("b"), inputOf("\xC3\xA9"), inputOf("B"), inputOf("a"), inputOf("b")};
  EXPECT_EQ(frame.view().producers, (Texts{"B", "a", "b", "\xC3\xA9"}));
}

TEST(RenderBaseView, AReportWithoutIdIsKeyedByItsNameAndOneWithoutBothIsIgnored) {
  Frame frame;
  RenderProducerStatus named;
  named.producer_name = "name";
  RenderProducerStatus nameless;
  nameless.detail = "says nothing of itself";
  frame.reports["t"] = {named, nameless};
  RenderInput namelessInput;
  namelessInput.detail = "nor this";
  frame.inputs["t"] = {namelessInput};
  EXPECT_EQ(frame.view().producers, Texts{"name"});
  EXPECT_EQ(frame.view().statusByProducer.size(), 1U);
  EXPECT_TRUE(frame.view().inputsByProducer.empty());
}

TEST(RenderBaseView, InputsWithoutAReportAppearAmongProducersAndInputsButNotAmongStatuses) {
  Frame frame;
  frame.inputs["t"] = {inputOf("x")};
  EXPECT_EQ(frame.view().producers, Texts{"x"});
  EXPECT_EQ(frame.view().inputsByProducer.count("x"), 1U);
  EXPECT_TRUE(frame.view().statusByProducer.empty());
}

TEST(RenderBaseView, InputsKeepTheContextsOrderAndPointIntoItsLists) {
  Frame frame;
  frame.inputs["t"] = {inputOf("x"), inputOf("y"), inputOf("x")};
  const std::vector<RenderInput>& list = frame.inputs["t"];
  EXPECT_EQ(frame.view().inputsByProducer.at("x"), (std::vector<const RenderInput*>{&list[0], &list[2]}));
  EXPECT_EQ(frame.view().inputsByProducer.at("y"), (std::vector<const RenderInput*>{&list[1]}));
}

TEST(RenderBaseView, ReportsOfOneProducerAreMergedIntoOne) {
  Frame frame;
  frame.reports["t"] = {reportOf("a", 2), reportOf("b", 1), reportOf("a", 3)};
  frame.reports["t"][2].detail = "late";
  EXPECT_EQ(frame.view().producers, (Texts{"a", "b"}));
  EXPECT_EQ(frame.view().statusByProducer.at("a").code, 3);
  EXPECT_EQ(frame.view().statusByProducer.at("a").detail, "late");
  EXPECT_EQ(frame.view().statusByProducer.at("b").code, 1);
}

TEST(RenderBaseView, TheFirstReportOfAProducerIsTakenWhole) {
  Frame frame;
  frame.reports["t"] = {{"type", "name", "version", "stream", "detail", "id", 7, 8, 4},
                        {"type 2", "name 2", "version 2", "stream 2", "detail 2", "id", 9, 3, 9}};
  const RenderProducerStatus& status = frame.view().statusByProducer.at("id");
  EXPECT_EQ(status.payload_type, "type");
  EXPECT_EQ(status.producer_name, "name");
  EXPECT_EQ(status.producer_version, "version");
  EXPECT_EQ(status.stream_name, "stream");
  EXPECT_EQ(status.detail, "detail");
  EXPECT_EQ(status.producer_id, "id");
  EXPECT_EQ(status.firstValue, 7U);
  EXPECT_EQ(status.maxValue, 8U);
  EXPECT_EQ(status.code, 4);
}

TEST(RenderBaseView, RecordsWithIdAndNameAreKeyedByTheId) {
  Frame frame;
  frame.reports["t"] = {reportOf("b")};
  frame.reports["t"][0].producer_name = "a";
  frame.inputs["t"] = {inputOf("d")};
  frame.inputs["t"][0].producer_name = "c";
  EXPECT_EQ(frame.view().producers, (Texts{"b", "d"}));
  EXPECT_EQ(frame.view().statusByProducer.count("b"), 1U);
  EXPECT_EQ(frame.view().inputsByProducer.count("d"), 1U);
}

TEST(RenderBaseView, ASecondCallReturnsTheSameObjectThoughTheListsChanged) {
  Frame frame;
  frame.reports["t"] = {reportOf("a")};
  const RenderProducerTypeView& first = frame.view();
  frame.reports["t"].push_back(reportOf("b"));
  frame.reports["other"] = {reportOf("c")};
  EXPECT_EQ(RenderBase::producerTypeView(frame.ctx, "other").producers, Texts{"c"});
  EXPECT_EQ(&frame.view(), &first);
  EXPECT_EQ(first.producers, Texts{"a"});
}

TEST(RenderBaseView, MissingMapsAbsentTypesAndEmptyListsLeaveItEmpty) {
  RenderContext bare;
  const RenderProducerTypeView& none = RenderBase::producerTypeView(bare, "t");
  EXPECT_TRUE(none.producers.empty() && none.inputsByProducer.empty() && none.statusByProducer.empty());

  Frame frame;
  frame.reports["other"] = {reportOf("a")};
  frame.inputs["t"] = {};
  EXPECT_TRUE(frame.view().producers.empty());
}

}  // namespace
