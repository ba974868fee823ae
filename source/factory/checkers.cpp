#include "factory/checkers.h"

#include <string>
#include <vector>

#include "check/anyof.h"
#include "check/exists.h"
#include "check/hash.h"
#include "check/not_exists.h"
#include "check/value.h"
#include "data_object/value_provider.h"
#include "exception.h"
#include "factory/factory.h"
#include "hash/gost2012.h"
#include "hash/sha256.h"
#include "manifest/manifest.h"

namespace integrity_check_tool {

namespace {

[[noreturn]] void UnknownCheckType(CheckType type)
{
    ICT_THROW("Unknown check type %1%", static_cast<std::uint32_t>(type));
}

}  // namespace

std::shared_ptr<check::CheckBase> MakeChecker(const CheckInfo& check, const zel::ITracerPtr& tracer,
                                              const IFactoryPtr& factory)
{
    switch (check.type) {
    case CheckType::Exists:
        return std::make_shared<check::Exists>(tracer, factory);
    case CheckType::NotExists:
        return std::make_shared<check::NotExists>(tracer, factory);
    case CheckType::Gost2012:
    case CheckType::Sha256:
        return std::make_shared<check::Hash>(
            tracer, factory, factory->CreateValueProvider(check.type), check.type, check.value);
    case CheckType::Value:
        return std::make_shared<check::Value>(
            tracer, factory, factory->CreateValueProvider(check.type), check.value);
    }
    UnknownCheckType(check.type);
}

std::shared_ptr<check::AnyOf> MakeAnyOf(const CheckInfoList& checks, const zel::ITracerPtr& tracer,
                                        const IFactoryPtr& factory)
{
    std::vector<check::AnyOf::Alternative> alternatives;
    alternatives.reserve(checks.size());
    for (std::size_t i = 0; i < checks.size(); ++i) {
        auto checker = MakeChecker(*checks[i], tracer, factory);
        alternatives.push_back(
            {ToName(checks[i]->type) + " #" + std::to_string(i + 1), checker, checker});
    }
    return std::make_shared<check::AnyOf>(tracer, std::move(alternatives));
}

IValueProviderPtr MakeValueProvider(CheckType type, const zel::ITracerPtr& tracer)
{
    switch (type) {
    case CheckType::Exists:
    case CheckType::NotExists:
        return std::make_shared<value_provider::Empty>();
    case CheckType::Gost2012:
        return std::make_shared<value_provider::Hash>(vorn::GetGost2012(tracer));
    case CheckType::Sha256:
        return std::make_shared<value_provider::Hash>(openssl::GetSha256());
    case CheckType::Value:
        return std::make_shared<value_provider::Raw>();
    }
    UnknownCheckType(type);
}

}  // namespace integrity_check_tool
