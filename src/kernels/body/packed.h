// Sharing where only groups of a tile's lanes live and samples cost much: units are put together from the live groups
// of any planes. A lane's footprint never asks beyond its group of four.
#pragma once

namespace tlr2 {
namespace {

/// Groups of a plane, a bit each.
using GroupSet = unsigned;
constexpr int kGroups = kParts * kGroupsOfPart;
constexpr GroupSet kAllGroups = (1u << kGroups) - 1;

/// Groups with a live lane.
LANE_FN GroupSet LiveGroups(const Mask& live) {
  unsigned bits = 0;
  for (int i = 0; i < kParts; ++i) bits |= LiveBits(PartOf(live, i)) << (i * kGroupsOfPart * 4);
  bits |= bits >> 2;
  bits |= bits >> 1;
  GroupSet groups = 0;
  for (int i = 0; i < kGroups; ++i) groups |= bits >> (i * 3) & (1u << i);
  return groups;
}

/// The places of each set's groups in bytes from the plane's first lane, one behind the other from the lowest 16 bits,
/// and their number.
struct SetPlaces {
  std::uint64_t places[kAllGroups + 1];
  std::uint8_t count[kAllGroups + 1];
};
constexpr SetPlaces ListSets() {
  SetPlaces sets = {};
  for (GroupSet set = 0; set <= kAllGroups; ++set) {
    for (int i = 0; i < kGroups; ++i) {
      if ((set >> i & 1) == 0) continue;
      sets.places[set] |= static_cast<std::uint64_t>(i * 16) << (sets.count[set] * 16);
      ++sets.count[set];
    }
  }
  return sets;
}
constexpr SetPlaces kSetPlaces = ListSets();

/// Groups to shade, by their places among the planes' weights and among their colours.
struct GroupList {
  std::uint16_t weight[kPlanes * kGroups + 4], color[kPlanes * kGroups + 4];  // more are written than count
  int count = 0;

  LANE_FN void Add(int plane, GroupSet groups) {
    const std::uint64_t each = 0x0001000100010001u * static_cast<std::uint64_t>(plane);
    const std::uint64_t places = kSetPlaces.places[groups];
    const std::uint64_t w = places + each * sizeof(Barycentrics), c = places + each * sizeof(Color);
    __builtin_memcpy(weight + count, &w, sizeof w);
    __builtin_memcpy(color + count, &c, sizeof c);
    count += kSetPlaces.count[groups];
  }
  /// Fills the last unit up with the last group over and over; there is at least one. Returns the number of units.
  LANE_FN int Finish() {
    for (int i = 0; i < kGroupsOfPart - 1; ++i) {
      weight[count + i] = weight[count - 1];
      color[count + i] = color[count - 1];
    }
    return (count + kGroupsOfPart - 1) / kGroupsOfPart;
  }
};

LANE_FN int CountOf(const GroupList& list) { return (list.count + kGroupsOfPart - 1) / kGroupsOfPart; }
LANE_FN PartBarycentrics WeightsOf(const Barycentrics (&weights)[kPlanes], const GroupList& list, int i) {
  const std::uint16_t* from = list.weight + i * kGroupsOfPart;
  const Floats(&b)[3] = weights[0].b;
  return {{LoadGroups(&b[0], from), LoadGroups(&b[1], from), LoadGroups(&b[2], from)}};
}
LANE_FN void SetColor(Color (&slots)[kPlanes], const GroupList& list, int i, const PartColor& c) {
  const std::uint16_t* to = list.color + i * kGroupsOfPart;
  StoreGroups(&slots[0].r, to, c.r);
  StoreGroups(&slots[0].g, to, c.g);
  StoreGroups(&slots[0].b, to, c.b);
  StoreGroups(&slots[0].a, to, c.a);
}

/// The slots of a triangle being shaded, and which groups of them are.
struct GroupShader {
  const Surface& surface;
  const Barycentrics (&weights)[kPlanes];
  Color (&slots)[kPlanes];
  GroupSet done[kPlanes];

  [[gnu::noinline]] void ShadeGroups(GroupList& groups) {
    const int count = groups.Finish();
    Samples samples;
    FindCoordinates(surface, weights, groups, samples);
    SampleTrilinear(*surface.texture, count, samples);
    CombineTexels(surface, weights, groups, samples, slots);
  }
  LANE_FN void Ensure(int plane, GroupSet groups) {
    const GroupSet missing = groups & ~done[plane];
    if (missing == 0) return;
    done[plane] |= missing;
    GroupList list;
    list.Add(plane, missing);
    ShadeGroups(list);
  }

  /// Whether the shaded lanes of a plane that has one spread beyond.
  LANE_FN bool ShadedSpreadBeyond(int plane, float root) const {
    GroupList list;
    list.Add(plane, done[plane]);
    const int count = list.Finish();
    for (int i = 0; i < count; ++i) {
      const std::uint16_t* at = list.color + i * kGroupsOfPart;
      const PartColor c = {LoadGroups(&slots[0].r, at), LoadGroups(&slots[0].g, at), LoadGroups(&slots[0].b, at),
                           LoadGroups(&slots[0].a, at)};
      if (SpreadsBeyond(SpreadOf(Luminance(c)), root)) return true;
    }
    return false;
  }
  /// Whether the plane's statistic is less than the square of `root`; its dead groups are shaded only if the live ones
  /// leave the answer open.
  [[gnu::noinline]] bool Compare(int plane, GroupSet groups, float root, float square) {
    if (done[plane] == 0) Ensure(plane, groups);
    if (done[plane] != kAllGroups) {
      if (ShadedSpreadBeyond(plane, root)) return false;
      Ensure(plane, kAllGroups);
    }
    return StatisticBelow(slots[plane], root, square);
  }
};

/// As ShadeShared, for triangles whose neighbours came to shade all planes.
[[gnu::noinline]] Sharing ShadePacked(const Surface& surface, const Barycentrics (&weights)[kPlanes],
                                      const Fragments& fragments, Color (&slots)[kPlanes]) {
  GroupSet live[kPlanes];
  for (int p = 0; p < kPlanes; ++p) live[p] = LiveGroups(fragments.live[p]);
  const GroupSet middle = live[1] | live[2], behind = middle | live[3];
  GroupShader shader{surface, weights, slots, {}};
  if (behind == 0) return shader.Ensure(0, live[0]), Sharing::kOne;
  // A plane without a live lane is asked for its statistic all the same, as long as later ones have some.
  const GroupSet first[kPlanes] = {live[0] != 0 ? live[0] : behind, live[1], live[2] != 0 ? live[2] : live[1],
                                   live[3] != 0 ? live[3] : middle};
  GroupList list;
  for (const int plane : kPlaneOrder) list.Add(plane, shader.done[plane] = first[plane]);
  shader.ShadeGroups(list);
  if (shader.Compare(0, behind, kRootAll, kShareAll)) return Sharing::kOne;

  if (middle == 0) return shader.Ensure(0, live[0]), shader.Ensure(3, live[3]), Sharing::kDiagonal;
  if (shader.Compare(3, behind, kRootDiagonal, kShareDiagonal)) {
    shader.Ensure(0, live[0] | middle);
    slots[1] = Average(slots[0], slots[3]);
    return Sharing::kMiddle;
  }
  if (live[1] == 0) return Sharing::kThree;
  if (shader.Compare(2, middle, kRootThree, kShareThree)) {
    shader.Ensure(0, live[0] | live[1]), shader.Ensure(3, live[3] | live[1]);
    slots[1] = Average(slots[0], slots[3], slots[2]);
    return Sharing::kAveraged;
  }
  return Sharing::kNone;
}

}  // namespace
}  // namespace tlr2
