#include "model/QifResults.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <set>

#include "ModelTestSupport.h"
#include "model/SlideShow.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = fs::path(KVO_SOURCE_DIR) / ".." / "shared" / "corpus" / "qif";

class QifResultsTest : public ::testing::Test {
protected:
    static bool HaveCorpus() { return fs::is_directory(kCorpus); }

    static std::string Corpus(const char* name) { return (kCorpus / name).string(); }

    static std::vector<int32_t> AllFeatures(const QifResults& results) {
        std::vector<int32_t> all(results.Features().size());
        std::iota(all.begin(), all.end(), 1);
        return all;
    }

    // A slide of icons for every feature of the results, as the editor makes them.
    static void AddIcons(SlideShow& show, const QifResults& results) {
        AddIconsFromResults(show.Slides().Add(), results, AllFeatures(results), [](const Icon&) { return IconExtent{10, 10}; });
    }

    test::TempDir dir_;
    test::RecordingPrompt prompt_;
};

// The measuring program decided PASS or FAIL from the same tolerances: our
// out-of-tolerance state must say FAIL exactly when the file does.
TEST_F(QifResultsTest, EveryCorpusMeasurementAgreesWithTheFilesOwnStatus) {
    if (!HaveCorpus()) GTEST_SKIP() << "the QIF corpus is not at " << kCorpus << "; skipped";
    const struct {
        const char* file;
        int32_t samples;
        std::size_t perSample;
        int checked;  // measurements with PASS or FAIL and a catalogue symbol, all samples
        int failing;
    } files[] = {
        {"WIDGET_QIF_RESULTS.QIF", 1, 42, 42, 5},
        {"QIF_Results_Sample.QIF", 1, 13, 11, 4},
        {"Exploded_Results1.QIF", 1, 2, 1, 1},
        {"SheetMetal_QIF_Results_6_samples.QIF", 6, 38, 228, 14},
        {"SheetMetal_QIF_Results_sample_1.QIF", 1, 38, 38, 0},
        {"SheetMetal_QIF_Results_sample_2.QIF", 1, 38, 38, 2},
        {"SheetMetal_QIF_Results_sample_3.QIF", 1, 38, 38, 2},
        {"SheetMetal_QIF_Results_sample_4.QIF", 1, 38, 38, 0},
        {"SheetMetal_QIF_Results_sample_5.QIF", 1, 38, 38, 0},
        {"SheetMetal_QIF_Results_sample_6.QIF", 1, 38, 38, 10},
    };
    for (const auto& expected : files) {
        QifResults results;
        results.LoadFromFile(Corpus(expected.file));
        ASSERT_EQ(results.SampleCount(), expected.samples) << expected.file;
        int checked = 0, failing = 0;
        for (int32_t sample = 1; sample <= results.SampleCount(); ++sample) {
            const auto& measurements = results.Measurements(sample);
            EXPECT_EQ(measurements.size(), expected.perSample) << expected.file;
            std::set<std::string> ids;
            for (const auto& m : measurements) {
                EXPECT_TRUE(ids.insert(m.id).second) << expected.file << " lists " << m.id << " twice";
                EXPECT_TRUE(m.columns[0].has_value()) << expected.file << " " << m.id;
                if (m.symbol == 0 || (m.status != "PASS" && m.status != "FAIL")) continue;
                ++checked;
                failing += m.status == "FAIL";
                EXPECT_EQ(m.state == ToleranceState::OutOfTolerance, m.status == "FAIL")
                    << expected.file << " sample " << sample << " id " << m.id << " " << m.type << ": state " << m.state;
            }
        }
        EXPECT_EQ(checked, expected.checked) << expected.file;
        EXPECT_EQ(failing, expected.failing) << expected.file;
    }

    // Spot checks against the files' own numbers.
    QifResults widget;
    widget.LoadFromFile(Corpus("WIDGET_QIF_RESULTS.QIF"));
    const auto& first = widget.Measurements(1);
    const auto diameter = std::find_if(first.begin(), first.end(), [](const auto& m) { return m.id == "92"; });
    ASSERT_NE(diameter, first.end());
    EXPECT_EQ(widget.Features()[static_cast<std::size_t>(diameter->feature) - 1], "CYLINDER7");  // by its feature measurement
    EXPECT_EQ(diameter->type, "Diameter");
    EXPECT_EQ(*diameter->columns[0], 4.89);
    EXPECT_EQ(*diameter->columns[1], 5);
    EXPECT_NEAR(*diameter->columns[4], -0.11, 1e-12);
    QifResults six;
    six.LoadFromFile(Corpus("SheetMetal_QIF_Results_6_samples.QIF"));
    EXPECT_EQ(*six.Measurements(6)[34].columns[0], 1.632768254314692);
    EXPECT_NE(six.Measurements(1)[34].columns[0], six.Measurements(6)[34].columns[0]);
}

// Icons made from the widget's results: one per feature, placed without
// overlapping each other or the slide's own icon, and evaluated by those
// results to the states the listing gives.
TEST_F(QifResultsTest, IconsFromResultsDoNotOverlapAndEvaluateToTheListedStates) {
    if (!HaveCorpus()) GTEST_SKIP() << "the QIF corpus is not at " << kCorpus << "; skipped";
    QifResults widget;
    widget.LoadFromFile(Corpus("WIDGET_QIF_RESULTS.QIF"));
    SlideShow show;
    Slide& slide = show.Slides().Add();
    Icon& own = slide.Icons().Add();
    own.SetLeft(100);
    own.SetTop(100);
    const auto extentOf = [](const Icon& icon) { return IconExtent{150, 40 + 30 * icon.Values().Count()}; };
    AddIconsFromResults(slide, widget, AllFeatures(widget), extentOf);
    ASSERT_EQ(slide.Icons().Count(), 20);

    for (int32_t i = 1; i <= slide.Icons().Count(); ++i) {
        const Icon& a = slide.Icons().Item(i);
        EXPECT_LE(a.Left() + extentOf(a).width, 1000);
        EXPECT_LE(a.Top() + extentOf(a).height, 1000);
        for (int32_t j = i + 1; j <= slide.Icons().Count(); ++j) {
            const Icon& b = slide.Icons().Item(j);
            const bool apart = a.Left() + extentOf(a).width <= b.Left() || b.Left() + extentOf(b).width <= a.Left() ||
                               a.Top() + extentOf(a).height <= b.Top() || b.Top() + extentOf(b).height <= a.Top();
            EXPECT_TRUE(apart) << a.Name() << " overlaps " << b.Name();
        }
    }

    widget.SampleReport(1).Evaluate(show);
    int cells = 0;
    for (int32_t i = 2; i <= slide.Icons().Count(); ++i) {
        const Icon& icon = slide.Icons().Item(i);
        EXPECT_EQ(icon.Name(), widget.Features()[static_cast<std::size_t>(i) - 2]);
        for (const auto& cell : icon.Values()) {
            ++cells;
            for (const auto& m : widget.Measurements(1))
                if (m.feature == i - 1 && m.row == cell->Row()) {
                    EXPECT_EQ(cell->Tolerance(), m.state) << icon.Name() << " " << m.id;
                }
        }
    }
    EXPECT_EQ(cells, 33);  // the distinct rows the widget's features fill

    // No room for the second of two: nothing is added.
    Slide& small = show.Slides().Add();
    const Error full = test::RaisedBy([&] {
        AddIconsFromResults(small, widget, {1, 2}, [](const Icon&) { return IconExtent{600, 600}; });
    });
    EXPECT_EQ(full.Description(), "There is no free place on the slide for the icon of DATUM_B.");
    EXPECT_EQ(small.Icons().Count(), 0);
}

TEST_F(QifResultsTest, AveragingTheSixFilesEqualsAveragingTheOneFileWithSixResults) {
    if (!HaveCorpus()) GTEST_SKIP() << "the QIF corpus is not at " << kCorpus << "; skipped";
    QifResults layout;
    layout.LoadFromFile(Corpus("SheetMetal_QIF_Results_6_samples.QIF"));
    SlideShow fromFiles, fromSamples;
    AddIcons(fromFiles, layout);
    AddIcons(fromSamples, layout);

    std::vector<Report> files;
    for (int i = 1; i <= 6; ++i)
        for (auto& report : LoadReports(Corpus(("SheetMetal_QIF_Results_sample_" + std::to_string(i) + ".QIF").c_str())))
            files.push_back(std::move(report));
    std::vector<Report> samples = LoadReports(Corpus("SheetMetal_QIF_Results_6_samples.QIF"));
    ASSERT_EQ(samples.size(), 6u);
    std::vector<const Report*> fileSet, sampleSet;
    for (const auto& report : files) fileSet.push_back(&report);
    for (const auto& report : samples) sampleSet.push_back(&report);
    AverageReports(fromFiles, fileSet);
    AverageReports(fromSamples, sampleSet);

    int averaged = 0;
    const auto& fileIcons = fromFiles.Slides().Item(1).Icons();
    const auto& sampleIcons = fromSamples.Slides().Item(1).Icons();
    for (int32_t i = 1; i <= fileIcons.Count(); ++i) {
        for (int32_t j = 1; j <= fileIcons.Item(i).Values().Count(); ++j) {
            const Value& a = fileIcons.Item(i).Values().Item(j);
            const Value& b = sampleIcons.Item(i).Values().Item(j);
            EXPECT_EQ(a.DisplayText(), b.DisplayText()) << fileIcons.Item(i).Name();
            EXPECT_EQ(a.Tolerance(), b.Tolerance()) << fileIcons.Item(i).Name();
            EXPECT_EQ(b.SummCount(), 6) << fileIcons.Item(i).Name();  // no sample taken for another
            averaged += b.Tolerance() != ToleranceState::NotEvaluated;
        }
    }
    EXPECT_EQ(averaged, 21);  // every feature's row
}

// Hand-written: a hole whose position passes only with the bonus of its
// oversize, a flatness measured twice on one feature (the worse one counts,
// for both), and a limit-toleranced coordinate beside a toleranced one.
TEST_F(QifResultsTest, BonusSharedRowsAndLimitsGiveTheDocumentedStates) {
    const std::string qif = R"(<?xml version="1.0"?>
<QIFDocument xmlns="http://qifstandards.org/xsd/qif3">
  <Features>
    <FeatureDefinitions><CylinderFeatureDefinition id="1"><InternalExternal>INTERNAL</InternalExternal><Diameter>5</Diameter></CylinderFeatureDefinition></FeatureDefinitions>
    <FeatureNominals><CylinderFeatureNominal id="2"><FeatureDefinitionId>1</FeatureDefinitionId></CylinderFeatureNominal></FeatureNominals>
    <FeatureItems>
      <PointFeatureItem id="4"><FeatureName>POINT</FeatureName></PointFeatureItem>
      <CylinderFeatureItem id="3"><FeatureNominalId>2</FeatureNominalId><FeatureName>HOLE</FeatureName></CylinderFeatureItem>
    </FeatureItems>
  </Features>
  <Characteristics>
    <CharacteristicDefinitions>
      <DiameterCharacteristicDefinition id="10"><Tolerance><MaxValue>0.1</MaxValue><MinValue>-0.025</MinValue><DefinedAsLimit>false</DefinedAsLimit></Tolerance></DiameterCharacteristicDefinition>
      <PositionCharacteristicDefinition id="11"><ToleranceValue>0.25</ToleranceValue><MaterialCondition>MAXIMUM</MaterialCondition></PositionCharacteristicDefinition>
      <FlatnessCharacteristicDefinition id="12"><ToleranceValue>0.05</ToleranceValue></FlatnessCharacteristicDefinition>
      <LinearCoordinateCharacteristicDefinition id="13"><Tolerance><MaxValue>10.2</MaxValue><MinValue>9.8</MinValue><DefinedAsLimit>true</DefinedAsLimit></Tolerance></LinearCoordinateCharacteristicDefinition>
      <LinearCoordinateCharacteristicDefinition id="14"><Tolerance><MaxValue>0.1</MaxValue><MinValue>-0.1</MinValue><DefinedAsLimit>false</DefinedAsLimit></Tolerance></LinearCoordinateCharacteristicDefinition>
    </CharacteristicDefinitions>
    <CharacteristicNominals>
      <DiameterCharacteristicNominal id="20"><CharacteristicDefinitionId>10</CharacteristicDefinitionId><TargetValue>5</TargetValue></DiameterCharacteristicNominal>
      <PositionCharacteristicNominal id="21"><CharacteristicDefinitionId>11</CharacteristicDefinitionId></PositionCharacteristicNominal>
      <FlatnessCharacteristicNominal id="22"><CharacteristicDefinitionId>12</CharacteristicDefinitionId></FlatnessCharacteristicNominal>
      <LinearCoordinateCharacteristicNominal id="23"><CharacteristicDefinitionId>13</CharacteristicDefinitionId><Direction>XAXIS</Direction></LinearCoordinateCharacteristicNominal>
      <LinearCoordinateCharacteristicNominal id="24"><CharacteristicDefinitionId>14</CharacteristicDefinitionId><TargetValue>3</TargetValue><Direction>YAXIS</Direction></LinearCoordinateCharacteristicNominal>
    </CharacteristicNominals>
    <CharacteristicItems>
      <DiameterCharacteristicItem id="30"><FeatureItemIds n="1"><Id>3</Id></FeatureItemIds><CharacteristicNominalId>20</CharacteristicNominalId></DiameterCharacteristicItem>
      <PositionCharacteristicItem id="31"><FeatureItemIds n="1"><Id>3</Id></FeatureItemIds><CharacteristicNominalId>21</CharacteristicNominalId></PositionCharacteristicItem>
      <FlatnessCharacteristicItem id="32"><FeatureItemIds n="1"><Id>3</Id></FeatureItemIds><CharacteristicNominalId>22</CharacteristicNominalId></FlatnessCharacteristicItem>
      <LinearCoordinateCharacteristicItem id="33"><FeatureItemIds n="1"><Id>4</Id></FeatureItemIds><CharacteristicNominalId>23</CharacteristicNominalId></LinearCoordinateCharacteristicItem>
      <LinearCoordinateCharacteristicItem id="34"><FeatureItemIds n="1"><Id>4</Id></FeatureItemIds><CharacteristicNominalId>24</CharacteristicNominalId></LinearCoordinateCharacteristicItem>
    </CharacteristicItems>
  </Characteristics>
  <Results><MeasurementResultsSet><MeasurementResults id="40">
    <MeasuredFeatures><CylinderFeatureMeasurement id="41"><FeatureItemId>3</FeatureItemId><Diameter>5.05</Diameter></CylinderFeatureMeasurement></MeasuredFeatures>
    <MeasuredCharacteristics><CharacteristicMeasurements>
      <DiameterCharacteristicMeasurement id="50"><CharacteristicItemId>30</CharacteristicItemId><FeatureMeasurementIds><Id>41</Id></FeatureMeasurementIds><Value>5.05</Value></DiameterCharacteristicMeasurement>
      <PositionCharacteristicMeasurement id="51"><CharacteristicItemId>31</CharacteristicItemId><FeatureMeasurementIds><Id>41</Id></FeatureMeasurementIds><Value>0.3</Value></PositionCharacteristicMeasurement>
      <FlatnessCharacteristicMeasurement id="52"><CharacteristicItemId>32</CharacteristicItemId><Value>0.01</Value></FlatnessCharacteristicMeasurement>
      <FlatnessCharacteristicMeasurement id="53"><CharacteristicItemId>32</CharacteristicItemId><Value>0.06</Value></FlatnessCharacteristicMeasurement>
      <LinearCoordinateCharacteristicMeasurement id="54"><CharacteristicItemId>33</CharacteristicItemId><Value>10.15</Value></LinearCoordinateCharacteristicMeasurement>
      <LinearCoordinateCharacteristicMeasurement id="55"><CharacteristicItemId>34</CharacteristicItemId><Value>3.095</Value></LinearCoordinateCharacteristicMeasurement>
    </CharacteristicMeasurements></MeasuredCharacteristics>
  </MeasurementResults></MeasurementResultsSet></Results>
</QIFDocument>
)";
    test::WriteFile(dir_.File("part.qif"), qif);
    QifResults results;
    results.LoadFromFile(dir_.File("part.qif"));
    ASSERT_EQ(results.Features(), (std::vector<std::string>{"POINT", "HOLE"}));
    const std::pair<const char*, int16_t> states[] = {
        {"50", ToleranceState::InBand},          // 0.05 of +0.1
        {"51", ToleranceState::Warning},         // 0.3 within 0.25 + bonus 5.05 - 4.975, beyond its 80 %
        {"52", ToleranceState::OutOfTolerance},  // its row shows the other flatness, 0.06 of 0.05
        {"53", ToleranceState::OutOfTolerance},
        {"54", ToleranceState::InBand},   // 10.15 between the limits 9.8 and 10.2: 0.15 of 0.2 from the middle
        {"55", ToleranceState::Warning},  // 3.095 of 3 +- 0.1, given as limits beside the other
    };
    const auto& measured = results.Measurements(1);
    ASSERT_EQ(measured.size(), std::size(states));
    for (std::size_t i = 0; i < measured.size(); ++i) {
        EXPECT_EQ(measured[i].id, states[i].first);
        EXPECT_EQ(measured[i].state, states[i].second) << measured[i].id;
    }

    // An icon shows the same states as the listing.
    SlideShow show;
    AddIcons(show, results);
    results.SampleReport(1).Evaluate(show);
    const Icon& hole = show.Slides().Item(1).Icons().Item(2);
    ASSERT_EQ(hole.Name(), "HOLE");
    ASSERT_EQ(hole.Values().Count(), 3);
    EXPECT_EQ(hole.Values().Item(2).Tolerance(), ToleranceState::Warning);  // row 9 with the bonus
    EXPECT_EQ(hole.Values().Item(3).Tolerance(), ToleranceState::OutOfTolerance);
    EXPECT_EQ(hole.Values().Item(3).DisplayText(), ".060");
}

TEST_F(QifResultsTest, BadInputNamesTheFileTheLineAndWhatWasExpected) {
    const std::string results = "<Results><MeasurementResultsSet><MeasurementResults>\n"
                                "<MeasuredCharacteristics><CharacteristicMeasurements>\n";
    const std::string head = "<QIFDocument>\n" + results;
    const std::string tail = "\n</CharacteristicMeasurements></MeasuredCharacteristics>\n"
                             "</MeasurementResults></MeasurementResultsSet></Results>\n</QIFDocument>\n";
    const std::string item = "<Characteristics><CharacteristicItems><DiameterCharacteristicItem id=\"7\"/></CharacteristicItems></Characteristics>\n";
    const std::pair<std::string, std::string> cases[] = {
        {"<QIFDocument>\n<Results>\n</QIFDocument>\n", "line 3: the file is not XML"},
        {"", "line 1: the file is not XML"},
        {"<?xml version=\"1.0\"?>\n<Report/>\n", "line 2: expected a QIF document (QIFDocument), not <Report>"},
        {"<QIFDocument>\n<Results/>\n</QIFDocument>\n", "holds no measurement results"},
        {head + "<DiameterCharacteristicMeasurement id=\"5\"><Value>1</Value></DiameterCharacteristicMeasurement>" + tail,
         "line 4: <DiameterCharacteristicMeasurement id=\"5\"> has no CharacteristicItemId"},
        {head + "<DiameterCharacteristicMeasurement id=\"5\">\n<CharacteristicItemId>99</CharacteristicItemId></DiameterCharacteristicMeasurement>" + tail,
         "line 5: <CharacteristicItemId> names the id 99, which bad.qif does not hold"},
        {"<QIFDocument>\n" + item + results + "<DiameterCharacteristicMeasurement id=\"5\"><CharacteristicItemId>7</CharacteristicItemId>\n<Value>1,5</Value></DiameterCharacteristicMeasurement>" + tail,
         "line 6: <Value> must be a number, not \"1,5\""},
        {head + "<DiameterCharacteristicMeasurement id=\"5\"><CharacteristicItemId xId=\"7\">2</CharacteristicItemId></DiameterCharacteristicMeasurement>" + tail,
         "line 4: <CharacteristicItemId> refers to the external document 2, which ExternalQIFReferences does not list"},
        {"<QIFDocument><ExternalQIFReferences><ExternalQIFDocument id=\"2\">\n<URI>./plan.qif</URI></ExternalQIFDocument></ExternalQIFReferences>\n" + results +
             "<DiameterCharacteristicMeasurement id=\"5\"><CharacteristicItemId xId=\"7\">2</CharacteristicItemId></DiameterCharacteristicMeasurement>" + tail,
         "line 2: the referenced QIF file \"" + dir_.File("plan.qif") + "\" does not exist"},
    };
    for (const auto& [text, message] : cases) {
        test::WriteFile(dir_.File("bad.qif"), text);
        const Error error = test::RaisedBy([&] { QifResults().LoadFromFile(dir_.File("bad.qif")); });
        EXPECT_EQ(error.Description().rfind(dir_.File("bad.qif"), 0), 0u) << error.Description();
        EXPECT_NE(error.Description().find(message), std::string::npos) << error.Description();
    }
    // A plan beside the results resolves; its missing definition is named with the plan's line.
    test::WriteFile(dir_.File("plan.qif"), "<QIFDocument>\n" + item + "</QIFDocument>\n");
    const std::string external = "<QIFDocument><ExternalQIFReferences><ExternalQIFDocument id=\"2\"><URI>plan.qif</URI></ExternalQIFDocument></ExternalQIFReferences>\n" + results;
    test::WriteFile(dir_.File("bad.qif"), external + "<DiameterCharacteristicMeasurement id=\"5\"><CharacteristicItemId xId=\"7\">2</CharacteristicItemId><Value>1</Value></DiameterCharacteristicMeasurement>" + tail);
    QifResults resolved;
    resolved.LoadFromFile(dir_.File("bad.qif"));
    EXPECT_EQ(resolved.Measurements(1).front().symbol, 1);
    EXPECT_EQ(test::RaisedBy([&] { resolved.Measurements(2); }).Number(), ErrorNumber::SubscriptOutOfRange);

    EXPECT_EQ(test::RaisedBy([&] { LoadReports(dir_.File("missing.qif")); }).Number(), ErrorNumber::FileNotFound);
    test::WriteFile(dir_.File("report.rpt"), "BLOCK Report\n\tNAME=by content\nEND\n");
    EXPECT_EQ(LoadReports(dir_.File("report.rpt")).front().Name(), "by content");
}

}  // namespace
}  // namespace kvo
