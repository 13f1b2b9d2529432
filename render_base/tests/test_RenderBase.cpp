#include <gtest/gtest.h>

#include <utility>

#include "test_support/FrameContext.h"
#include "test_support/IdlePlugin.h"

namespace {

using Texts = std::vector<std::string>;

class PlainPlugin : public IdlePlugin {
 public:
  explicit PlainPlugin(Texts types) : types_(std::move(types)) {}

  Texts input_types() const override { return types_; }

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
  for (const Texts& types : {Texts{"b", "a", "b"}, Texts{}}) {
    const PlainPlugin plugin(types);
    const IRenderPlugin& base = plugin;
    Texts required;
    for (const RenderInputRequirement& requirement : base.input_requirements()) {
      required.push_back(requirement.type);
      EXPECT_FALSE(requirement.flag);
    }
    EXPECT_EQ(required, types);
  }
}

TEST(RenderBaseView, ProducersStandInTheOrderOfTheirReportsAndThenInputOnlyOnesSortedByBytes) {
  Frame frame;
  frame.reports["t"] = {reportOf("d"), reportOf("c")};
  for (const char* id : {"b", "\xC3\xA9", "B", "d", "a", "b"}) frame.inputs["t"].push_back(inputOf(id));
  EXPECT_EQ(frame.view().producers, (Texts{"d", "c", "B", "a", "b", "\xC3\xA9"}));
  EXPECT_EQ(frame.view().inputsByProducer.count("a"), 1U);
  EXPECT_EQ(frame.view().statusByProducer.size(), 2U) << "of those with a report";
}

TEST(RenderBaseView, RecordsAreKeyedByTheIdElseByTheNameAndWithoutBothIgnored) {
  Frame frame;
  frame.reports["t"] = {reportOf(""), reportOf(""), reportOf("b")};
  frame.inputs["t"] = {inputOf(""), inputOf(""), inputOf("d")};
  for (const std::size_t record : {1U, 2U}) {
    frame.reports["t"][record].producer_name = "a";
    frame.inputs["t"][record].producer_name = "c";
  }
  EXPECT_EQ(frame.view().producers, (Texts{"a", "b", "c", "d"}));
  EXPECT_EQ(frame.view().statusByProducer.size(), 2U);
  EXPECT_EQ(frame.view().statusByProducer.count("a") + frame.view().statusByProducer.count("b"), 2U);
  EXPECT_EQ(frame.view().inputsByProducer.size(), 2U);
  EXPECT_EQ(frame.view().inputsByProducer.count("c") + frame.view().inputsByProducer.count("d"), 2U);
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
