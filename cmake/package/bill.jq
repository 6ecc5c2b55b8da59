# Writes the bill of materials in SPDX 2.3. Input: lines of sha1sum, then lines of sha256sum, over the same
# files.
def file_id: "SPDXRef-File-" + (ltrimstr("./") | gsub("[^A-Za-z0-9.]"; "-"));

# A part that is linked into the library or the programs, with its licence.
def part($name; $version; $supplier; $license; $home):
  {
    SPDXID: "SPDXRef-Package-\($name)", name: $name, versionInfo: $version, supplier: "Organization: \($supplier)",
    downloadLocation: "NOASSERTION", homepage: $home, filesAnalyzed: false,
    licenseConcluded: "NOASSERTION", licenseDeclared: $license, copyrightText: "NOASSERTION"
  };
def parts:
  [
    part("gcc-runtime"; $gcc; "Free Software Foundation"; "GPL-3.0-or-later WITH GCC-exception-3.1"; "https://gcc.gnu.org"),
    part("mingw-w64-runtime"; $mingw; "mingw-w64"; "ZPL-2.1"; "https://www.mingw-w64.org"),
    part("winpthreads"; $mingw; "mingw-w64"; "MIT AND BSD-3-Clause"; "https://www.mingw-w64.org"),
    part("boost"; $boost; "Boost"; "BSL-1.0"; "https://www.boost.org"),
    part("zlib"; $zlib; "zlib"; "Zlib"; "https://zlib.net"),
    part("nlohmann-json"; $json; "nlohmann-json"; "MIT"; "https://json.nlohmann.me"),
    part("cli11"; $cli11; "CLI11"; "BSD-3-Clause"; "https://github.com/CLIUtils/CLI11"),
    part("tomlplusplus"; $toml; "tomlplusplus"; "MIT"; "https://marzer.github.io/tomlplusplus"),
    part("mustache"; $mustache; "kainjow"; "BSL-1.0"; "https://github.com/kainjow/Mustache")
  ];
def parts_of($names): parts | map(select([.name] | inside($names)));
def runtimes: ["gcc-runtime", "mingw-w64-runtime", "winpthreads"];
def reading: ["boost", "zlib", "nlohmann-json", "cli11"];
def relation($from; $type; $to):
  { spdxElementId: $from, relationshipType: $type, relatedSpdxElement: $to };

[inputs | capture("^(?<sum>[0-9a-f]+)  (?<path>.*)$")] | group_by(.path) |
map({
  SPDXID: (.[0].path | file_id), fileName: .[0].path,
  checksums: map({ algorithm: (if .sum | length == 40 then "SHA1" else "SHA256" end), checksumValue: .sum }),
  licenseConcluded: (if .[0].path | startswith("./licenses/") then "NOASSERTION" else "MIT" end),
  licenseInfoInFiles: ["NOASSERTION"], copyrightText: "NOASSERTION"
}) as $files |
{
  spdxVersion: "SPDX-2.3", dataLicense: "CC0-1.0", SPDXID: "SPDXRef-DOCUMENT", name: $name,
  documentNamespace: "urn:vantra:\($name):\($verification)",
  creationInfo: { created: $created, creators: ["Organization: Vantra", "Tool: vantra-pack-\($version)"] },
  packages: ([{
    SPDXID: "SPDXRef-Package-vantra", name: "vantra", versionInfo: $version, supplier: "Organization: Vantra",
    downloadLocation: "NOASSERTION", filesAnalyzed: true,
    packageVerificationCode: {
      packageVerificationCodeValue: $verification,
      packageVerificationCodeExcludedFiles: ["./\($name).spdx.json", "./SHA256SUMS"]
    },
    licenseConcluded: "MIT", licenseInfoFromFiles: ["NOASSERTION"], licenseDeclared: "MIT",
    copyrightText: "Copyright (c) 2026 the Vantra authors", primaryPackagePurpose: "LIBRARY"
  }] + parts),
  files: $files,
  relationships: (
    [relation("SPDXRef-DOCUMENT"; "DESCRIBES"; "SPDXRef-Package-vantra")] +
    ($files | map(relation("SPDXRef-Package-vantra"; "CONTAINS"; .SPDXID))) +
    (parts_of(runtimes + ["boost"]) | map(relation("SPDXRef-File-bin-Vantra.dll"; "STATIC_LINK"; .SPDXID))) +
    (parts_of(runtimes + ["boost", "zlib"]) | map(relation("SPDXRef-File-agent-Sendrix2.exe"; "STATIC_LINK"; .SPDXID))) +
    (parts_of(runtimes + reading) | map(relation("SPDXRef-File-inspect-vantra-inspect.exe"; "STATIC_LINK"; .SPDXID))) +
    (parts_of(["gcc-runtime"] + reading) | map(relation("SPDXRef-File-inspect-vantra-inspect"; "STATIC_LINK"; .SPDXID))) +
    (parts | map(relation("SPDXRef-File-catalogue-vantra-catalog.exe"; "STATIC_LINK"; .SPDXID))) +
    (parts_of(["gcc-runtime"] + reading + ["tomlplusplus", "mustache"]) |
      map(relation("SPDXRef-File-catalogue-vantra-catalog"; "STATIC_LINK"; .SPDXID)))
  )
}
