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
assert len(expected) == 11

listing = subprocess.run(
    ["nm", "-D", "--defined-only", "-C", sys.argv[1]], check=True, capture_output=True, text=True
).stdout
exported = {line.split(" ", 2)[2] for line in listing.splitlines()}
for name in sorted(exported - expected):
    print("exported, but not meant to be:", name)
for name in sorted(expected - exported):
    print("not exported:", name)
sys.exit(exported != expected)
