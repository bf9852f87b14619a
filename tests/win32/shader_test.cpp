// The kept shader bytecode, looked at with the system's own shader compiler: its reflection of our containers, and the
// frame of a container that it makes itself.
#include <d3d11shader.h>
#include <d3dcompiler.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "present/postprocess.h"
#include "present/shaders/post_process_shaders.h"

namespace tlr2 {
namespace {

using ReflectFunction = decltype(&D3DReflect);
using CompileFunction = decltype(&D3DCompile);

template <typename Function>
Function FromCompiler(const char* name) {
  static const HMODULE library = LoadLibraryW(L"d3dcompiler_47.dll");
  return library == nullptr ? nullptr
                            : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

TEST(Shaders, ThePixelShaderNamesItsResources) {
  const auto reflect = FromCompiler<ReflectFunction>("D3DReflect");
  if (reflect == nullptr) GTEST_SKIP() << "no shader compiler on this system";
  ID3D11ShaderReflection* reflection = nullptr;
  // The identifier moved with the compiler's version; 47 has this one.
  const IID id = {0x8d536ca1, 0x0cca, 0x4956, {0xa8, 0x37, 0x78, 0x69, 0x63, 0x75, 0x55, 0x84}};
  ASSERT_EQ(reflect(kPostProcessPixelShader, sizeof kPostProcessPixelShader, id, reinterpret_cast<void**>(&reflection)),
            S_OK);
  struct Expected {
    const char* name;
    D3D_SHADER_INPUT_TYPE type;
  };
  for (const Expected& expected : {Expected{"src", D3D_SIT_TEXTURE}, Expected{"smp", D3D_SIT_SAMPLER},
                                   Expected{"PostProcessConstants", D3D_SIT_CBUFFER}}) {
    D3D11_SHADER_INPUT_BIND_DESC binding = {};
    ASSERT_EQ(reflection->GetResourceBindingDescByName(expected.name, &binding), S_OK) << expected.name;
    EXPECT_EQ(binding.Type, expected.type) << expected.name;
    EXPECT_EQ(binding.BindPoint, 0u) << expected.name;
    EXPECT_EQ(binding.BindCount, 1u) << expected.name;
  }
  ID3D11ShaderReflectionConstantBuffer* buffer = reflection->GetConstantBufferByName("PostProcessConstants");
  ASSERT_NE(buffer, nullptr);
  D3D11_SHADER_BUFFER_DESC description = {};
  ASSERT_EQ(buffer->GetDesc(&description), S_OK);
  EXPECT_EQ(description.Size, sizeof(PostProcessConstants));
  EXPECT_EQ(description.Variables, 6u);
  const struct {
    const char* name;
    std::size_t offset, size;
  } fields[] = {
      {"gamma", offsetof(PostProcessConstants, gamma), 4},
      {"hueRadians", offsetof(PostProcessConstants, hueRadians), 4},
      {"saturation", offsetof(PostProcessConstants, saturation), 4},
      {"brightness", offsetof(PostProcessConstants, brightness), 4},
      {"videoRange", offsetof(PostProcessConstants, videoRange), 4},
      {"_pad", offsetof(PostProcessConstants, _pad), 12},
  };
  for (const auto& field : fields) {
    D3D11_SHADER_VARIABLE_DESC variable = {};
    ASSERT_EQ(buffer->GetVariableByName(field.name)->GetDesc(&variable), S_OK) << field.name;
    EXPECT_EQ(variable.StartOffset, field.offset) << field.name;
    EXPECT_EQ(variable.Size, field.size) << field.name;
  }
  reflection->Release();
}

TEST(Shaders, TheVertexShadersSignaturesAreThoseOfTheCompiler) {
  const auto compile = FromCompiler<CompileFunction>("D3DCompile");
  if (compile == nullptr) GTEST_SKIP() << "no shader compiler on this system";
  static const char kSource[] =
      "struct Output { float4 position : SV_Position; float2 uv : TEXCOORD; };\n"
      "Output main(uint id : SV_VertexID) {\n"
      "  Output o;\n"
      "  float u = float((id << 1) & 2);\n"
      "  float v = float(id & 2);\n"
      "  o.position = float4(u * 2.0f - 1.0f, 1.0f - v * 2.0f, 0.0f, 1.0f);\n"
      "  o.uv = float2(u, v);\n"
      "  return o;\n"
      "}\n";
  ID3DBlob* code = nullptr;
  ID3DBlob* messages = nullptr;
  const HRESULT hr =
      compile(kSource, sizeof kSource - 1, nullptr, nullptr, nullptr, "main", "vs_4_0", 0, 0, &code, &messages);
  if (FAILED(hr)) GTEST_SKIP() << "the compiler here does not take the source";
  const auto* theirs = static_cast<const std::uint8_t*>(code->GetBufferPointer());
  // For shader_assembler.py --verify, which checks the checksum against a container that it did not make.
  if (std::FILE* file = std::fopen("compiled_vs.dxbc", "wb")) {
    std::fwrite(theirs, 1, code->GetBufferSize(), file);
    std::fclose(file);
  }
  const auto chunk = [](const std::uint8_t* data, const char* tag) {
    std::uint32_t count = 0;
    std::memcpy(&count, data + 28, 4);
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t offset = 0, size = 0;
      std::memcpy(&offset, data + 32 + 4 * i, 4);
      std::memcpy(&size, data + offset + 4, 4);
      if (std::memcmp(data + offset, tag, 4) == 0) return std::string(data + offset + 8, data + offset + 8 + size);
    }
    return std::string();
  };
  // Elements are 24 bytes: name, index, system value, type, register, mask. Names follow, so their offsets agree too.
  const struct {
    const char* tag;
    std::size_t count;
  } signatures[] = {{"ISGN", 1}, {"OSGN", 2}};
  for (const auto& signature : signatures) {
    const std::string ours = chunk(kPostProcessVertexShader, signature.tag), other = chunk(theirs, signature.tag);
    ASSERT_FALSE(ours.empty());
    ASSERT_FALSE(other.empty());
    std::uint32_t count = 0;
    std::memcpy(&count, other.data(), 4);
    ASSERT_EQ(count, signature.count);
    std::memcpy(&count, ours.data(), 4);
    ASSERT_EQ(count, signature.count);
    for (std::size_t i = 0; i < signature.count; ++i) {
      const char* a = ours.data() + 8 + 24 * i;
      const char* b = other.data() + 8 + 24 * i;
      std::uint32_t nameA = 0, nameB = 0;
      std::memcpy(&nameA, a, 4);
      std::memcpy(&nameB, b, 4);
      EXPECT_STRCASEEQ(ours.data() + nameA, other.data() + nameB);
      EXPECT_EQ(std::memcmp(a + 4, b + 4, 17), 0) << signature.tag << " element " << i;  // index to mask
    }
  }
  code->Release();
}

TEST(Shaders, ContainersSayTheirOwnSize) {
  const auto check = [](const std::uint8_t* data, std::size_t size) {
    EXPECT_EQ(std::memcmp(data, "DXBC", 4), 0);
    std::uint32_t told = 0;
    std::memcpy(&told, data + 24, 4);
    EXPECT_EQ(told, size);
  };
  check(kPostProcessVertexShader, sizeof kPostProcessVertexShader);
  check(kPostProcessPixelShader, sizeof kPostProcessPixelShader);
}

}  // namespace
}  // namespace tlr2
