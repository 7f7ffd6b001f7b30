// The commands' entry points, one source each.
#pragma once

namespace Console {

struct Answer;
class Context;

Answer RunList(Context& context);
Answer RunTree(Context& context);
Answer RunShow(Context& context);
Answer RunGet(Context& context);
Answer RunSet(Context& context);
Answer RunEvents(Context& context);
Answer RunExplain(Context& context);
Answer RunPlugin(Context& context);
Answer RunHelp(Context& context);
Answer RunVersion(Context& context);

}  // namespace Console
