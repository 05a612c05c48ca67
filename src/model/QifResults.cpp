#include "QifResults.h"

#include <pugixml.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <unordered_map>

#include "Icon.h"
#include "IconCatalogue.h"
#include "Slide.h"
#include "Value.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

constexpr std::string_view kMeasurementSuffix = "CharacteristicMeasurement";
constexpr int16_t kDiameterSymbol = 1;
constexpr int16_t kWidthSymbol = 14;
constexpr int16_t kProfileSymbol = 24;
constexpr int16_t kPositionRow = 9;
// Far beyond any results file; a reference to something like /proc/kcore must not be read.
constexpr std::uintmax_t kMaxFileBytes = 256u << 20;

bool IsOneSidedRow(int16_t row) { return row >= 9 && row <= 13; }

// The catalogue number of a QIF characteristic type; a linear coordinate's
// depends on its axis.
int16_t SymbolOf(std::string_view type, std::string_view direction) {
    static const std::map<std::string_view, int16_t> symbols = {
        {"Diameter", 1},       {"SphericalDiameter", 1}, {"AngleBetween", 2},    {"Angle", 2},
        {"Radius", 6},         {"DistanceBetween", 8},   {"Position", 9},        {"Flatness", 10},
        {"Straightness", 11},  {"Circularity", 12},      {"Cylindricity", 13},   {"Width", 14},
        {"Length", 15},        {"Perpendicularity", 18}, {"Parallelism", 19},    {"Angularity", 20},
        {"Concentricity", 21}, {"Coaxiality", 21},       {"Symmetry", 22},       {"CircularRunout", 23},
        {"SurfaceProfile", 24}, {"LineProfile", 24},     {"PointProfile", 24},   {"Height", 25}};
    if (type == "LinearCoordinate") {
        if (direction == "XAXIS") return 3;
        if (direction == "YAXIS") return 4;
        if (direction == "ZAXIS") return 5;
        return 0;
    }
    const auto found = symbols.find(type);
    return found == symbols.end() ? 0 : found->second;
}

std::string_view XmlTrim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Element names without a namespace prefix, as files with "qif:" prefixes write them.
std::string_view LocalName(pugi::xml_node node) {
    const std::string_view name = node.name();
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node Child(pugi::xml_node node, std::string_view name) {
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling())
        if (child.type() == pugi::node_element && LocalName(child) == name) return child;
    return {};
}

std::string TextOf(pugi::xml_node node) { return std::string(XmlTrim(node.child_value())); }

// "<DiameterCharacteristicMeasurement id="50">", as a message names an element.
std::string Describe(pugi::xml_node node) {
    std::string text = "<" + std::string(LocalName(node));
    if (const auto id = node.attribute("id")) text += " id=\"" + Excerpt(id.value()) + "\"";
    return text + ">";
}

[[noreturn]] void Fail(int32_t message, std::initializer_list<ResArg> arguments, int32_t number = ErrorNumber::LoadStructure) {
    throw Error(number, LoadResString(Str::QifLoadTitle), FormatResString(message, arguments));
}

int32_t LineAt(const std::string& text, std::ptrdiff_t offset) {
    offset = std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(text.size()));
    return 1 + static_cast<int32_t>(std::count(text.begin(), text.begin() + offset, '\n'));
}

// One parsed QIF file; its text is kept for the line numbers of messages.
struct Document {
    std::string path;
    std::string text;
    pugi::xml_document xml;
    std::unordered_map<std::string, pugi::xml_node> ids;

    int32_t LineOf(pugi::xml_node node) const { return LineAt(text, node.offset_debug()); }
};

// An element and the file it is in.
struct Located {
    const Document* doc = nullptr;
    pugi::xml_node node;
    explicit operator bool() const { return doc != nullptr && node; }
};

std::optional<double> Number(const Document& doc, pugi::xml_node node) {
    if (!node) return std::nullopt;
    std::string_view text = XmlTrim(node.child_value());
    const std::string_view given = text;
    if (text.size() > 1 && text[0] == '+') text.remove_prefix(1);  // from_chars takes no plus sign, XML numbers may
    double value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || problem != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        Fail(Str::QifBadNumber, {doc.path, doc.LineOf(node), Describe(node), Excerpt(given)});
    return value;
}

// The files of one results file: itself and the QIF files it refers to, each read once.
class Reader {
public:
    const Document& Load(const std::string& path, const Document* from, pugi::xml_node uri) {
        std::error_code ignored;
        std::string key = std::filesystem::weakly_canonical(path, ignored).string();
        if (key.empty()) key = path;
        if (const auto found = documents_.find(key); found != documents_.end()) return *found->second;
        if (!std::filesystem::is_regular_file(path, ignored)) {
            if (from) Fail(Str::QifMissingFile, {from->path, from->LineOf(uri), path}, ErrorNumber::FileNotFound);
            Fail(Str::FileMissing, {path}, ErrorNumber::FileNotFound);
        }
        if (std::filesystem::file_size(path, ignored) > kMaxFileBytes)
            Fail(Str::QifTooLarge, {path, static_cast<int32_t>(kMaxFileBytes >> 20)});
        auto doc = std::make_unique<Document>();
        doc->path = path;
        std::ifstream in(path, std::ios::binary);
        doc->text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        const pugi::xml_parse_result parsed = doc->xml.load_buffer(doc->text.data(), doc->text.size());
        if (!parsed) Fail(Str::QifNotXml, {path, LineAt(doc->text, parsed.offset), parsed.description()});
        const pugi::xml_node root = doc->xml.document_element();
        if (LocalName(root) != "QIFDocument") Fail(Str::QifNotQif, {path, doc->LineOf(root), Describe(root)});
        Index(*doc, root);
        return *documents_.emplace(key, std::move(doc)).first->second;
    }

    // The element a reference names: by its text in doc, or, with an xId, by the
    // xId in the external document that its text names.
    Located Resolve(const Document& doc, pugi::xml_node reference) {
        const std::string id(XmlTrim(reference.child_value()));
        if (const auto xid = reference.attribute("xId"))
            return Find(External(doc, reference, id), std::string(XmlTrim(xid.value())), doc, reference);
        return Find(doc, id, doc, reference);
    }

    // The element that the child reference `name` of from names; empty without one.
    Located Follow(const Located& from, std::string_view name) {
        if (!from) return {};
        const pugi::xml_node reference = Child(from.node, name);
        return reference ? Resolve(*from.doc, reference) : Located{};
    }

    // The first of a list of references, as in <FeatureItemIds><Id>.
    Located FollowFirst(const Located& from, std::string_view list) {
        if (!from) return {};
        const pugi::xml_node reference = Child(Child(from.node, list), "Id");
        return reference ? Resolve(*from.doc, reference) : Located{};
    }

private:
    // Walked without recursion: a hostile file may nest deeply.
    static void Index(Document& doc, pugi::xml_node root) {
        for (pugi::xml_node node = root; node;) {
            if (const auto id = node.attribute("id")) doc.ids.emplace(std::string(XmlTrim(id.value())), node);
            if (node.first_child()) {
                node = node.first_child();
                continue;
            }
            while (node != root && !node.next_sibling()) node = node.parent();
            if (node == root) break;
            node = node.next_sibling();
        }
    }

    static Located Find(const Document& in, const std::string& id, const Document& doc, pugi::xml_node reference) {
        const auto found = in.ids.find(id);
        if (found == in.ids.end())
            Fail(Str::QifMissingId, {doc.path, doc.LineOf(reference), Describe(reference), Excerpt(id), FileNamePart(in.path)});
        return {&in, found->second};
    }

    const Document& External(const Document& doc, pugi::xml_node reference, const std::string& id) {
        const pugi::xml_node references = Child(doc.xml.document_element(), "ExternalQIFReferences");
        for (pugi::xml_node external = references.first_child(); external; external = external.next_sibling()) {
            if (LocalName(external) != "ExternalQIFDocument" || XmlTrim(external.attribute("id").value()) != id) continue;
            const pugi::xml_node uri = Child(external, "URI");
            if (!uri) Fail(Str::QifMissingElement, {doc.path, doc.LineOf(external), Describe(external), "URI"});
            std::string target = TextOf(uri);
            if (target.rfind("file://", 0) == 0) target.erase(0, 7);
            const std::filesystem::path relative(target);
            const std::string path = relative.is_absolute()
                                         ? target
                                         : (std::filesystem::path(doc.path).parent_path() / relative).lexically_normal().string();
            return Load(path, &doc, uri);
        }
        Fail(Str::QifUnknownExternal, {doc.path, doc.LineOf(reference), Describe(reference), Excerpt(id)});
    }

    std::map<std::string, std::unique_ptr<Document>> documents_;
};

// A measurement as read, with what its feature's report needs besides the cells.
struct Candidate {
    QifMeasurement m;
    bool toleranced = false;
    bool limit = false;
    bool mmc = false;
    double bonus = 0;
    Located featureMeasurement;
    Located featureItem;
};

// The state a deviation cell of the row gets from this feature's report.
int16_t StateOf(ReportFeature& feature, int16_t row) {
    static const std::vector<int16_t> all(32, 1);
    Value cell;
    cell.SetRow(row);
    cell.SetColumn(Value::kDeviationColumn);
    cell.UpdateReport(feature, all, all);
    return cell.Tolerance();
}

void Put(ReportFeature& feature, const Candidate& candidate) {
    const int16_t row = candidate.m.row;
    for (int16_t column = 0; column < 5; ++column)
        if (const auto& value = candidate.m.columns[static_cast<std::size_t>(column)]) feature.cells[{column, row}] = *value;
    if (!candidate.toleranced) feature.untoleranced.insert(row);
    if (row == kPositionRow && candidate.mmc) {
        feature.mmc = true;
        feature.bonus = candidate.bonus;
    }
}

// The state of a measurement on its own row, before rows are shared.
int16_t OwnState(const Candidate& candidate) {
    ReportFeature alone;
    alone.limit = candidate.limit;
    Put(alone, candidate);
    return StateOf(alone, candidate.m.row);
}

// Reads the whole file into features and samples of candidates.
class Builder {
public:
    explicit Builder(const std::string& fileName) : main_(reader_.Load(fileName, nullptr, {})) {}

    void Read() {
        const pugi::xml_node root = main_.xml.document_element();
        for (pugi::xml_node item = Child(Child(root, "Features"), "FeatureItems").first_child(); item; item = item.next_sibling())
            if (item.type() == pugi::node_element) FeatureOf({&main_, item});
        for (pugi::xml_node set = Child(root, "Results").first_child(); set; set = set.next_sibling()) {
            if (LocalName(set) != "MeasurementResultsSet") continue;
            for (pugi::xml_node results = set.first_child(); results; results = results.next_sibling())
                if (LocalName(results) == "MeasurementResults") ReadSample(results);
        }
        if (samples.empty()) Fail(Str::QifNoResults, {main_.path});
    }

    std::vector<std::string> features;
    std::vector<std::vector<Candidate>> samples;

private:
    int32_t FeatureOf(const Located& item) {
        const auto [found, added] = featureIndex_.emplace(item.node.internal_object(), static_cast<int32_t>(features.size()) + 1);
        if (added) features.push_back(TextOf(Child(item.node, "FeatureName")));
        return found->second;
    }

    void ReadSample(pugi::xml_node results) {
        std::vector<Candidate> sample;
        const pugi::xml_node list = Child(Child(results, "MeasuredCharacteristics"), "CharacteristicMeasurements");
        for (pugi::xml_node measurement = list.first_child(); measurement; measurement = measurement.next_sibling()) {
            const std::string_view name = LocalName(measurement);
            if (measurement.type() == pugi::node_element && name.size() > kMeasurementSuffix.size() && name.ends_with(kMeasurementSuffix))
                sample.push_back(Read(measurement));
        }
        for (auto& candidate : sample)
            if (candidate.mmc) candidate.bonus = Bonus(candidate, sample);
        samples.push_back(std::move(sample));
    }

    Candidate Read(pugi::xml_node measurement) {
        Candidate c;
        const std::string_view name = LocalName(measurement);
        c.m.id = measurement.attribute("id").value();
        c.m.type = std::string(name.substr(0, name.size() - kMeasurementSuffix.size()));
        c.m.status = TextOf(Child(Child(measurement, "Status"), "CharacteristicStatusEnum"));
        const std::optional<double> measured = Number(main_, Child(measurement, "Value"));
        c.m.columns[0] = measured;

        const pugi::xml_node itemReference = Child(measurement, "CharacteristicItemId");
        if (!itemReference)
            Fail(Str::QifMissingElement, {main_.path, main_.LineOf(measurement), Describe(measurement), "CharacteristicItemId"});
        const Located item = reader_.Resolve(main_, itemReference);
        const Located nominal = reader_.Follow(item, "CharacteristicNominalId");
        const Located definition = reader_.Follow(nominal, "CharacteristicDefinitionId");
        std::string direction = TextOf(Child(nominal.node, "Direction"));
        if (direction.empty()) direction = TextOf(Child(definition.node, "Direction"));
        c.m.symbol = SymbolOf(c.m.type, direction);
        c.m.row = IconCatalogue::ReportRow(c.m.symbol);
        const std::optional<double> target = nominal ? Number(*nominal.doc, Child(nominal.node, "TargetValue")) : std::nullopt;
        c.m.columns[1] = target;
        if (definition) Tolerate(c, *definition.doc, definition.node, measured, target);

        c.featureMeasurement = reader_.FollowFirst({&main_, measurement}, "FeatureMeasurementIds");
        c.featureItem = reader_.Follow(c.featureMeasurement, "FeatureItemId");
        if (!c.featureItem) c.featureItem = reader_.FollowFirst(item, "FeatureItemIds");
        if (c.featureItem) c.m.feature = FeatureOf(c.featureItem);
        return c;
    }

    // The tolerance columns: two-sided tolerances or limits, or one tolerance
    // value for the one-sided rows, where a profile's signed deviation d counts
    // as the zone 2 |d - middle| it needs.
    static void Tolerate(Candidate& c, const Document& doc, pugi::xml_node definition, std::optional<double> measured,
                         std::optional<double> target) {
        auto& columns = c.m.columns;
        pugi::xml_node tolerance = Child(definition, "Tolerance");
        if (!tolerance) tolerance = Child(definition, "AngularTolerance");
        if (tolerance) {
            const auto upper = Number(doc, Child(tolerance, "MaxValue"));
            const auto lower = Number(doc, Child(tolerance, "MinValue"));
            const std::string limit = TextOf(Child(tolerance, "DefinedAsLimit"));
            c.limit = limit == "true" || limit == "1";
            c.toleranced = upper && lower;
            if (!c.toleranced) return;
            columns[2] = upper;
            columns[3] = c.limit ? *lower : -*lower;
            const std::optional<double> centre = c.limit && !target ? std::optional((*upper + *lower) / 2) : target;
            if (measured && centre) columns[4] = *measured - *centre;
            return;
        }
        const auto zone = Number(doc, Child(definition, "ToleranceValue"));
        if (!zone) return;
        c.toleranced = true;
        columns[2] = zone;
        columns[3] = 0.0;
        c.mmc = TextOf(Child(definition, "MaterialCondition")) == "MAXIMUM";
        if (!measured) return;
        if (c.m.symbol == kProfileSymbol) {
            // The zone lies OuterDisposition outside the nominal surface; without it, equally about it.
            const auto outer = Number(doc, Child(definition, "OuterDisposition"));
            const double middle = outer ? *outer - *zone / 2 : 0.0;
            columns[4] = 2 * std::abs(*measured - middle);
        } else {
            columns[4] = measured;
        }
    }

    // The bonus of a position at maximum material condition: how far the
    // feature's measured size lies from its maximum material size, never
    // negative. The size is the feature measurement's Diameter or Width, or the
    // measured value of the feature's size characteristic; the maximum material
    // size comes from that characteristic's tolerance (the smallest allowed size
    // of an internal feature, the largest of an external one), else from the
    // feature's nominal size.
    double Bonus(const Candidate& position, const std::vector<Candidate>& sample) {
        const Located definition = reader_.Follow(reader_.Follow(position.featureItem, "FeatureNominalId"), "FeatureDefinitionId");
        if (!definition) return 0;
        const std::string side = TextOf(Child(definition.node, "InternalExternal"));
        const bool internal = side == "INTERNAL";
        if (!internal && side != "EXTERNAL") return 0;
        const Candidate* size = nullptr;
        for (const auto& other : sample)
            if (other.m.feature == position.m.feature && other.toleranced && (other.m.symbol == kDiameterSymbol || other.m.symbol == kWidthSymbol))
                size = &other;
        std::optional<double> measured;
        if (position.featureMeasurement) {
            const pugi::xml_node node = position.featureMeasurement.node;
            const pugi::xml_node given = Child(node, "Diameter") ? Child(node, "Diameter") : Child(node, "Width");
            measured = Number(*position.featureMeasurement.doc, given);
        }
        if (!measured && size) measured = size->m.columns[0];
        std::optional<double> mmcSize;
        if (size) {
            const auto& columns = size->m.columns;
            if (size->limit) mmcSize = internal ? columns[3] : columns[2];
            else if (columns[1]) mmcSize = internal ? *columns[1] - *columns[3] : *columns[1] + *columns[2];
        }
        if (!mmcSize) {
            const pugi::xml_node nominalSize = Child(definition.node, "Diameter") ? Child(definition.node, "Diameter")
                                                                                   : Child(definition.node, "Width");
            mmcSize = Number(*definition.doc, nominalSize);
        }
        if (!measured || !mmcSize) return 0;
        return std::max(0.0, internal ? *measured - *mmcSize : *mmcSize - *measured);
    }

    Reader reader_;
    const Document& main_;
    std::map<const void*, int32_t> featureIndex_;
};

// The report of one sample. Each row of a feature holds one measurement: when
// several fall on the same row (a type measured twice, or types that share a
// row), the worst of them, by its own state and then by the size of its
// deviation. A feature with a limit-toleranced row gives all its two-sided rows
// as limits, since the host's limit tolerancing is the feature's.
Report MakeReport(const std::vector<std::string>& features, std::vector<Candidate>& sample, std::string fileName, std::string name) {
    std::vector<std::unique_ptr<ReportFeature>> reportFeatures;
    for (std::size_t i = 0; i < features.size(); ++i) {
        auto feature = std::make_unique<ReportFeature>();
        feature->sequenceNumber = static_cast<int32_t>(i) + 1;
        feature->name = features[i];
        reportFeatures.push_back(std::move(feature));
    }
    std::map<std::pair<int32_t, int16_t>, std::pair<const Candidate*, int16_t>> chosen;  // (feature, row): worst, its state
    for (const auto& candidate : sample) {
        if (candidate.m.feature == 0 || candidate.m.row == 0) continue;
        const int16_t state = OwnState(candidate);
        const auto size = [](const Candidate& c) { return c.m.columns[4] ? std::abs(*c.m.columns[4]) : -1.0; };
        auto [slot, added] = chosen.try_emplace({candidate.m.feature, candidate.m.row}, &candidate, state);
        const auto& [held, heldState] = slot->second;
        if (!added && (state > heldState || (state == heldState && size(candidate) > size(*held)))) slot->second = {&candidate, state};
    }
    for (const auto& [key, worst] : chosen) {
        ReportFeature& feature = *reportFeatures[static_cast<std::size_t>(key.first) - 1];
        Put(feature, *worst.first);
        if (worst.first->limit && !IsOneSidedRow(key.second)) feature.limit = true;
    }
    for (const auto& [key, worst] : chosen) {
        ReportFeature& feature = *reportFeatures[static_cast<std::size_t>(key.first) - 1];
        const Candidate& c = *worst.first;
        if (!feature.limit || c.limit || !c.toleranced || IsOneSidedRow(key.second)) continue;
        const auto& columns = c.m.columns;
        const std::optional<double> nominal =
            columns[1] ? columns[1] : (columns[0] && columns[4] ? std::optional(*columns[0] - *columns[4]) : std::nullopt);
        if (!nominal) {
            feature.untoleranced.insert(key.second);
            continue;
        }
        feature.cells[{2, key.second}] = *nominal + *columns[2];
        feature.cells[{3, key.second}] = *nominal - *columns[3];
    }
    // A measurement of no feature is in no report; it keeps the state it has on its own.
    for (auto& candidate : sample) {
        if (candidate.m.row == 0) continue;
        candidate.m.state = candidate.m.feature == 0
                                ? OwnState(candidate)
                                : StateOf(*reportFeatures[static_cast<std::size_t>(candidate.m.feature) - 1], candidate.m.row);
    }
    return Report(std::move(fileName), std::move(name), std::move(reportFeatures));
}

}  // namespace

void QifResults::LoadFromFile(const std::string& fileName) {
    fileName_ = fileName;
    features_.clear();
    samples_.clear();
    Builder builder(fileName);
    builder.Read();
    features_ = std::move(builder.features);
    const std::size_t count = builder.samples.size();
    for (std::size_t i = 0; i < count; ++i) {
        auto& candidates = builder.samples[i];
        // Samples of one file are told apart by their number when averaged.
        const std::string number = count > 1 ? "#" + std::to_string(i + 1) : "";
        Report report = MakeReport(features_, candidates, fileName + number, FileNamePart(fileName) + number);
        Sample sample{{}, std::move(report)};
        for (auto& candidate : candidates) sample.measurements.push_back(std::move(candidate.m));
        samples_.push_back(std::move(sample));
    }
}

const QifResults::Sample& QifResults::At(int32_t sample) const {
    if (sample < 1 || sample > SampleCount())
        throw Error(ErrorNumber::SubscriptOutOfRange, LoadResString(Str::QifLoadTitle),
                    FormatResString(Str::QifNoSample, {fileName_, SampleCount(), sample}));
    return samples_[static_cast<std::size_t>(sample) - 1];
}

const std::vector<QifMeasurement>& QifResults::Measurements(int32_t sample) const { return At(sample).measurements; }

const Report& QifResults::SampleReport(int32_t sample) const { return At(sample).report; }

std::vector<Report> QifResults::TakeReports() {
    std::vector<Report> reports;
    for (auto& sample : samples_) reports.push_back(std::move(sample.report));
    samples_.clear();
    return reports;
}

void AddIconsFromResults(Slide& slide, const QifResults& results, const std::vector<int32_t>& features,
                         const std::function<IconExtent(const Icon&)>& extentOf) {
    struct Box {
        int32_t left, top, right, bottom;
        bool Overlaps(const Box& other) const {
            return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
        }
    };
    const auto boxOf = [&](const Icon& icon) {
        const IconExtent extent = extentOf(icon);
        return Box{icon.Left(), icon.Top(), icon.Left() + extent.width, icon.Top() + extent.height};
    };
    std::vector<Box> taken;
    for (const auto& icon : slide.Icons()) taken.push_back(boxOf(*icon));

    std::vector<std::unique_ptr<Icon>> made;
    IconExtent cell;  // the grid's step: the largest new box, and a gap
    constexpr int32_t kGap = 10;
    for (const int32_t feature : features) {
        auto icon = std::make_unique<Icon>();
        icon->SetFeatureName(results.Features().at(static_cast<std::size_t>(feature) - 1));
        icon->SetDrawLeader(false);  // the author points each one at its feature
        std::vector<int16_t> rows;
        for (const auto& m : results.Measurements(1)) {
            if (m.feature != feature || m.row == 0 || std::find(rows.begin(), rows.end(), m.row) != rows.end()) continue;
            rows.push_back(m.row);
            Value& value = icon->Values().Add();
            value.SetRow(m.row);
            value.SetGeometricSymbol(m.symbol);
        }
        const IconExtent extent = extentOf(*icon);
        cell.width = std::max(cell.width, extent.width + kGap);
        cell.height = std::max(cell.height, extent.height + kGap);
        made.push_back(std::move(icon));
    }
    for (std::size_t i = 0; i < made.size(); ++i) {
        Icon& icon = *made[i];
        const IconExtent extent = extentOf(icon);
        bool placed = false;
        for (int32_t top = 0; !placed && top + extent.height <= Icon::kMaxPosition; top += cell.height) {
            for (int32_t left = 0; !placed && left + extent.width <= Icon::kMaxPosition; left += cell.width) {
                const Box box{left, top, left + extent.width, top + extent.height};
                if (std::any_of(taken.begin(), taken.end(), [&](const Box& other) { return box.Overlaps(other); })) continue;
                icon.SetLeft(left);
                icon.SetTop(top);
                taken.push_back(box);
                placed = true;
            }
        }
        if (!placed)
            throw Error(ErrorNumber::InvalidCall, LoadResString(Str::QifLoadTitle),
                        FormatResString(Str::QifNoRoom, {results.Features()[static_cast<std::size_t>(features[i]) - 1]}));
    }
    for (const auto& icon : made) icon->Copy(slide.Icons().Add());
}

bool IsXmlFile(const std::string& fileName) {
    std::ifstream in(fileName, std::ios::binary);
    std::string start(512, '\0');
    in.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(in.gcount()));
    if (start.rfind("\xEF\xBB\xBF", 0) == 0) start.erase(0, 3);
    const std::string_view text = XmlTrim(start);
    return !text.empty() && text.front() == '<';
}

std::vector<Report> LoadReports(const std::string& fileName) {
    if (IsXmlFile(fileName)) {
        QifResults results;
        results.LoadFromFile(fileName);
        return results.TakeReports();
    }
    std::vector<Report> reports(1);
    reports.front().LoadFromFile(fileName);
    return reports;
}

}  // namespace kvo
