// A server of 28 tools for mcp.connect, made with the protocol's own package.
//
// usage: node mcp_server.cjs FOLDER WITH node_modules

const { createRequire } = require("node:module");
const load = createRequire(require("node:path").resolve(process.argv[2], "x.js"));
const { McpServer } = load("@modelcontextprotocol/sdk/server/mcp.js");
const { StdioServerTransport } = load("@modelcontextprotocol/sdk/server/stdio.js");

const server = new McpServer({ name: "bench", version: "1.0.0" });
for (let number = 1; number <= 28; ++number) {
    const answer = async () => ({ content: [{ type: "text", text: String(number) }] });
    server.registerTool(`tool-${number}`, { description: `The tool of number ${number}` }, answer);
}
server.connect(new StdioServerTransport());
