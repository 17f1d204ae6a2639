"""What the figures were taken on."""
import pathlib


def _cpu():
    fields = {}
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        name, _, value = line.partition(":")
        fields.setdefault(name.strip(), value.strip())
    return fields


def _vector_units(flags):
    known = (("sse4_2", "SSE4.2"), ("avx", "AVX"), ("avx2", "AVX2"), ("fma", "FMA"),
             ("avx512f", "AVX-512"))
    return ", ".join(name for flag, name in known if flag in flags)


def processor_times():
    """Ticks of all processors since the system began: in all, and those that others took."""
    ticks = [int(v) for v in pathlib.Path("/proc/stat").read_text().split("\n")[0].split()[1:9]]
    return sum(ticks), ticks[7]


def describe(context, repetitions, stolen):
    cpu = _cpu()
    caches = ", ".join(f"L{cache['level']} {cache['type'].lower()} {cache['size'] // 1024} KiB"
                       for cache in context["caches"])
    load = "/".join(f"{value:.1f}" for value in context["load_avg"])
    print(f"- Machine: {cpu.get('model name', 'unknown')}, {context['num_cpus']} processors; "
          f"{caches}; vector units: {_vector_units(cpu.get('flags', '').split())}")
    print(f"- Build: {context['compiler']}, {context['build']}")
    print(f"- Load average when it began: {load}; taken by other guests of the machine meanwhile: "
          f"{100 * stolen:.1f} % of the time")
    print(f"- Every figure is the median of {repetitions} repetitions, in random order")
