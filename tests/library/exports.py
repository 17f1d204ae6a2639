"""Compares what the operator library exports with the list of what it is meant to export."""

import subprocess
import sys

POSITIONS = "Vantor::Object const&, Ostrum::Array<Vantor::Math::float3> const&, {value} const&, "
REST = "Ostrum::String const&, Geometry::Query::SamplerType, Ostrum::Ptr<Ostrum::Array<{out}> >&"
VECTORS = ["double3", "float2", "float3", "float3x3", "float4", "float4x2", "float4x4"]


def member(operator, value, out):
    return f"Geometry::Query::{operator}(" + (POSITIONS + REST).format(value=value, out=out) + ")"


values = ["float", "double"] + ["Vantor::Math::" + name for name in VECTORS]
expected = {member("sample_volume", value, value) for value in values}
expected |= {
    member("sample_volume_gradient", value, f"Vantor::Math::{value}3") for value in ("float", "double")
}
OPTIONS = "Vantor::Sample::GenerateLocationOptions"
LOCATIONS = "Ostrum::Array<Vantor::Geometry::Common::GeoLocation>"
expected |= {
    f"{OPTIONS}::{special}" for special in (
        "GenerateLocationOptions()", f"GenerateLocationOptions({OPTIONS} const&)",
        f"GenerateLocationOptions({OPTIONS}&&)", "~GenerateLocationOptions()",
        f"operator=({OPTIONS} const&)", f"operator=({OPTIONS}&&)")
}
expected |= {
    f"Vantor::Sample::generateSampleLocations(Vantor::Object const&, {OPTIONS} const&, {LOCATIONS}&, "
    "Ostrum::RuntimeServices const*)",
    "Geometry::Query::generate_sample_locations(Ostrum::Ptr<Vantor::Object> const&, "
    "VantorExp::Geometry::SampleType, double, VantorExp::Geometry::AmountType, "
    "VantorExp::Geometry::MaskControl, long, Ostrum::Ptr<Ostrum::Array<long long> > const&, bool, long, "
    f"bool, Ostrum::String const&, bool, Ostrum::Ptr<{LOCATIONS} >&, Ostrum::RuntimeServices const&)",
}
expected |= {
    f"Geometry::Internal::sample_volume_property(Vantor::Object const&, {LOCATIONS} const&, "
    f"Ostrum::String const&, {value} const&, VantorExp::SampleMethod, "
    f"Ostrum::Ptr<Ostrum::Array<{value}> >&, Ostrum::Ptr<Ostrum::Array<bool> >&)"
    for value in values
}
assert len(expected) == 28

listing = subprocess.run(
    ["nm", "-D", "--defined-only", "-C", sys.argv[1]], check=True, capture_output=True, text=True
).stdout
exported = {line.split(" ", 2)[2] for line in listing.splitlines()}
for name in sorted(exported - expected):
    print("exported, but not meant to be:", name)
for name in sorted(expected - exported):
    print("not exported:", name)
sys.exit(exported != expected)
