// The packs that ship with the app, three in each language. The two lists hold the same pack and
// prompt identifiers and tags; only the texts differ.

#include "PromptPackService.h"

using namespace Qt::StringLiterals;

namespace {

struct BuiltInPrompt {
    const char16_t* id = nullptr;
    const char16_t* tags[2] = {}; // the second may be absent
    const char16_t* title = nullptr;
    const char16_t* group = nullptr;
    const char16_t* text = nullptr;
};

struct BuiltInPack {
    const char16_t* id = nullptr;
    const char16_t* name = nullptr;
    const char16_t* workspaceName = nullptr;
    const char16_t* description = nullptr;
    bool forCodex = false; // every prompt of the pack is for Codex
    BuiltInPrompt prompts[4] = {};
};

// clang-format off
constexpr BuiltInPack englishPacks[] = {
    {u"codex-project-audit", u"ChatGPT Project Audit Pack", u"ChatGPT Project Audit",
     u"Project structure audit, risk ranking, test gaps, and release readiness.",
     true,
     {
         {u"audit-project", {u"audit", u"review"}, u"Audit current project", u"Project Audit",
          u"Review the current project structure, key files, and potential risks, then give actionable suggestions."},
         {u"rank-risks", {u"risk", nullptr}, u"Rank risks", u"Project Audit",
          u"Rank current project issues as high, medium, or low risk, and explain why each one matters."},
         {u"add-tests", {u"test", nullptr}, u"Add key tests", u"Testing",
          u"Find the paths that most need tests, prioritizing failure paths, edge cases, and regression risks."},
         {u"release-check", {u"release", nullptr}, u"Pre-release check", u"Release",
          u"Check whether build, tests, docs, privacy notes, and packaging are ready for release."},
     }},
    {u"agent-maintenance-loop", u"Agent Maintenance Loop Pack", u"Agent Maintenance Loop",
     u"Reproduce, make the smallest fix, verify, regression-check, and hand off.",
     true,
     {
         {u"reproduce-issue", {u"debug", nullptr}, u"Reproduce issue", u"Maintenance Loop",
          u"Reproduce the issue first. Record trigger conditions, actual result, and expected result."},
         {u"smallest-fix", {u"fix", nullptr}, u"Smallest fix", u"Maintenance Loop",
          u"Fix the issue with the smallest change and avoid unrelated refactors."},
         {u"verify-command", {u"verify", nullptr}, u"Verification command", u"Verification",
          u"Run the smallest command that proves the fix works, then explain the result."},
         {u"handoff-summary", {u"handoff", nullptr}, u"Handoff summary", u"Handoff",
          u"Summarize changes, verification result, remaining risks, and next suggestions."},
     }},
    {u"content-workflow", u"Content Workflow Pack", u"Content Workflow",
     u"Title ideas, article review, image prompts, and pre-publish checks.",
     false,
     {
         {u"title-ideas", {u"title", nullptr}, u"Title ideas", u"Topic and Title",
          u"Generate 10 titles with stronger click reasons for this content while keeping factual boundaries."},
         {u"article-review", {u"review", nullptr}, u"Article review", u"Review",
          u"Review the opening, structure, story tension, memorable lines, and reader value. Give revision suggestions."},
         {u"image-prompt", {u"image", nullptr}, u"Image Prompt", u"Visual",
          u"Create one complete copy-ready image prompt for the article, including subject, style, composition, and aspect ratio."},
         {u"publish-check", {u"publish", nullptr}, u"Pre-publish check", u"Release",
          u"Check facts, sources, platform risk, originality, and pre-publish score."},
     }},
};

constexpr BuiltInPack chinesePacks[] = {
    {u"codex-project-audit", u"ChatGPT 项目审计包", u"ChatGPT 项目审计",
     u"项目结构审计、风险分级、补测试、发布前检查。",
     true,
     {
         {u"audit-project", {u"audit", u"review"}, u"全面审计当前项目", u"项目审计",
          u"请审查当前项目结构、关键文件、潜在风险，并给出可执行建议。"},
         {u"rank-risks", {u"risk", nullptr}, u"按风险分级", u"项目审计",
          u"请把当前项目问题按高、中、低风险分级，并说明每项为什么重要。"},
         {u"add-tests", {u"test", nullptr}, u"补关键测试", u"测试",
          u"请找出当前最需要补测试的路径，优先覆盖失败路径、边界条件和回归风险。"},
         {u"release-check", {u"release", nullptr}, u"发布前检查", u"发布",
          u"请检查构建、测试、文档、隐私说明和打包配置是否满足发布前要求。"},
     }},
    {u"agent-maintenance-loop", u"Agent 维护 Loop 包", u"Agent 维护 Loop",
     u"复现问题、最小修改、验证命令、回归检查、交接总结。",
     true,
     {
         {u"reproduce-issue", {u"debug", nullptr}, u"复现问题", u"维护 Loop",
          u"请先复现问题，记录触发条件、实际结果和期望结果。"},
         {u"smallest-fix", {u"fix", nullptr}, u"最小修改", u"维护 Loop",
          u"请用最小改动修复问题，不做无关重构。"},
         {u"verify-command", {u"verify", nullptr}, u"验证命令", u"验证",
          u"请运行能证明修复有效的最小验证命令，并说明结果。"},
         {u"handoff-summary", {u"handoff", nullptr}, u"交接总结", u"交接",
          u"请总结已改内容、验证结果、剩余风险和后续建议。"},
     }},
    {u"content-workflow", u"内容创作工作流包", u"内容创作工作流",
     u"标题生成、文章审稿、配图 prompt、发布前检查。",
     false,
     {
         {u"title-ideas", {u"title", nullptr}, u"标题生成", u"选题标题",
          u"请基于这篇内容生成 10 个更有点击理由的标题，保留真实边界。"},
         {u"article-review", {u"review", nullptr}, u"文章审稿", u"审稿",
          u"请审查文章的开头、结构、故事张力、金句和读者收益，并给出修改建议。"},
         {u"image-prompt", {u"image", nullptr}, u"配图 Prompt", u"视觉",
          u"请为文章生成一条完整可复制的配图 prompt，包含主体、风格、构图和比例。"},
         {u"publish-check", {u"publish", nullptr}, u"发布前检查", u"发布",
          u"请检查事实、来源、平台风险、原创性和发布前评分。"},
     }},
};

// clang-format on

QList<PromptPack> makePacks(const BuiltInPack (&table)[3])
{
    QList<PromptPack> packs;
    for (const BuiltInPack& entry : table) {
        PromptPack pack;
        pack.metadata = PromptPackMetadata{QString::fromUtf16(entry.id), QString::fromUtf16(entry.name),
                                           QString::fromUtf16(entry.description), u"1.0.0"_s, u"Velmora"_s};
        pack.workspace.id = pack.metadata.id;
        pack.workspace.name = QString::fromUtf16(entry.workspaceName);
        pack.workspace.source = PromptWorkspaceSource::userWorkspace;
        for (const BuiltInPrompt& source : entry.prompts) {
            PromptItem prompt;
            prompt.id = QString::fromUtf16(source.id);
            prompt.title = QString::fromUtf16(source.title);
            prompt.group = QString::fromUtf16(source.group);
            if (entry.forCodex)
                prompt.agent = AgentType::codex;
            prompt.text = QString::fromUtf16(source.text);
            for (const char16_t* tag : source.tags) {
                if (tag)
                    prompt.tags.append(QString::fromUtf16(tag));
            }
            pack.workspace.prompts.append(prompt);
        }
        packs.append(pack);
    }
    return packs;
}

} // namespace

const QList<PromptPack>& PromptPackService::builtInPacks(AppLanguage language)
{
    if (language == AppLanguage::system)
        language = systemResolved(systemPreferredLanguages());
    if (language == AppLanguage::english) {
        static const QList<PromptPack> english = makePacks(englishPacks);
        return english;
    }
    static const QList<PromptPack> chinese = makePacks(chinesePacks);
    return chinese;
}
