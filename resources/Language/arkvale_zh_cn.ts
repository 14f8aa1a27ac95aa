<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en_US">
<context>
    <name>AboutText</name>
    <message>
        <source>Version</source>
        <translation>版本</translation>
    </message>
    <message>
        <source>Build</source>
        <translation>构建</translation>
    </message>
    <message>
        <source>User agreement</source>
        <translation>用户协议</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>帮助</translation>
    </message>
    <message>
        <source>This program uses the software below. Each is under the licence named.</source>
        <translation>本程序使用以下软件，各自遵循所列许可证。</translation>
    </message>
</context>
<context>
    <name>AddressBar</name>
    <message>
        <source>All Files</source>
        <translation>全部文件</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>路径</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜索</translation>
    </message>
    <message>
        <source>Hidden folders</source>
        <translation>已折叠的文件夹</translation>
    </message>
    <message>
        <source>Scroll up</source>
        <translation>向上滚动</translation>
    </message>
    <message>
        <source>Scroll down</source>
        <translation>向下滚动</translation>
    </message>
</context>
<context>
    <name>ArkvaleTolmaMain</name>
    <message>
        <source>Waiting for the sub-center...</source>
        <translation>正在等待分中心...</translation>
    </message>
    <message>
        <source>Arkvale has started!</source>
        <translation>Arkvale 已启动！</translation>
    </message>
    <message>
        <source> is current user.</source>
        <translation> 是当前用户。</translation>
    </message>
    <message>
        <source>Are you sure you want to exit?</source>
        <translation>确定要退出吗？</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>退出</translation>
    </message>
    <message>
        <source>Are you sure you want to logout?</source>
        <translation>确定要注销吗？</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>注销</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The session has ended. Please log in again.</source>
        <translation>会话已结束，请重新登录。</translation>
    </message>
    <message>
        <source>Arkvale has minimized to tray!</source>
        <translation>Arkvale 已最小化到托盘！</translation>
    </message>
    <message>
        <source>Language(&amp;A)</source>
        <translation>语言(&amp;A)</translation>
    </message>
    <message>
        <source>Start WSS</source>
        <translation>启动 WSS</translation>
    </message>
    <message>
        <source>Stop WSS</source>
        <translation>停止 WSS</translation>
    </message>
    <message>
        <source>Clear cache(&amp;C)</source>
        <translation>清除缓存(&amp;C)</translation>
    </message>
    <message>
        <source>Check for updates(&amp;U)</source>
        <translation>检查更新(&amp;U)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>关于</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>帮助</translation>
    </message>
    <message>
        <source>Logout(&amp;L)</source>
        <translation>注销(&amp;L)</translation>
    </message>
    <message>
        <source>Exit(&amp;E)</source>
        <translation>退出(&amp;E)</translation>
    </message>
    <message>
        <source>The language could not be saved and holds until the program ends.</source>
        <translation>无法保存语言设置，所选语言仅在本次运行期间有效。</translation>
    </message>
    <message>
        <source>Cache clean up successfully.</source>
        <translation>缓存清理成功。</translation>
    </message>
    <message>
        <source>Cache clean up failed.</source>
        <translation>缓存清理失败。</translation>
    </message>
    <message>
        <source>No help page is configured.</source>
        <translation>未配置帮助页面。</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>You cannot access this server!</source>
        <translation>您无权访问此服务器！</translation>
    </message>
    <message>
        <source>%1 transfers are still running. They stop now and can go on after the next login.</source>
        <translation>仍有 %1 个传输正在进行。它们现在会停止，下次登录后可以继续。</translation>
    </message>
    <message>
        <source>There is no sub-center &quot;%1&quot;.</source>
        <translation>没有分中心“%1”。</translation>
    </message>
    <message>
        <source>You have no folder in the sub-center &quot;%1&quot;.</source>
        <translation>您在分中心“%1”中没有文件夹。</translation>
    </message>
</context>
<context>
    <name>ArkvaleTray</name>
    <message>
        <source>Arkvale for Render</source>
        <translation>Arkvale 渲染版</translation>
    </message>
    <message>
        <source>Main Window</source>
        <translation>主窗口</translation>
    </message>
    <message>
        <source>Transfer List</source>
        <translation>传输列表</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>注销</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>退出</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>消息</translation>
    </message>
    <message>
        <source>Download task created</source>
        <translation>已创建下载任务</translation>
    </message>
    <message>
        <source>Upload task created</source>
        <translation>已创建上传任务</translation>
    </message>
    <message>
        <source>File download finished</source>
        <translation>文件下载完成</translation>
    </message>
    <message>
        <source>File upload finished</source>
        <translation>文件上传完成</translation>
    </message>
    <message>
        <source> has loginned</source>
        <translation> 已登录</translation>
    </message>
    <message>
        <source>%1 download tasks created</source>
        <translation>已创建 %1 个下载任务</translation>
    </message>
    <message>
        <source>%1 upload tasks created</source>
        <translation>已创建 %1 个上传任务</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>以及另外 %1 个</translation>
    </message>
</context>
<context>
    <name>BusyStrip</name>
    <message>
        <source>Loading</source>
        <translation>正在加载</translation>
    </message>
</context>
<context>
    <name>CollisionQuestion</name>
    <message>
        <source>The following file(s)/folder(s) exist: %1 etc.</source>
        <translation>以下文件/文件夹已存在：%1 等。</translation>
    </message>
    <message>
        <source>Merge(Replace)</source>
        <translation>合并(替换)</translation>
    </message>
    <message>
        <source>The following file(s) exist: %1 etc.</source>
        <translation>以下文件已存在：%1 等。</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>替换</translation>
    </message>
    <message>
        <source>The following folder(s) exist: %1 etc.</source>
        <translation>以下文件夹已存在：%1 等。</translation>
    </message>
    <message>
        <source>Merge</source>
        <translation>合并</translation>
    </message>
</context>
<context>
    <name>CommandLineTransfer</name>
    <message>
        <source>The folder &quot;%1&quot; could not be read, nothing was downloaded.</source>
        <translation>无法读取文件夹“%1”，未下载任何内容。</translation>
    </message>
    <message>
        <source>The folder &quot;%1&quot; cannot be written, nothing was downloaded.</source>
        <translation>无法写入文件夹“%1”，未下载任何内容。</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>以及其他 %1 项</translation>
    </message>
    <message>
        <source>Not found in &quot;%1&quot;:</source>
        <translation>在“%1”中未找到：</translation>
    </message>
    <message>
        <source>There is no folder &quot;%1&quot;.</source>
        <translation>没有文件夹“%1”。</translation>
    </message>
</context>
<context>
    <name>ConcurrenceSettings</name>
    <message>
        <source>Holds at once, for all sub-centers. Tasks above the number go back to the front of the queue and lose nothing; small files travel together and do not count.</source>
        <translation>立即生效，适用于所有分中心。超出数量的任务回到队列前端，不会丢失任何进度；小文件合并传输，不计入数量。</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>应用</translation>
    </message>
    <message>
        <source>Uploads at the same time</source>
        <translation>同时上传的任务数</translation>
    </message>
    <message>
        <source>Downloads at the same time</source>
        <translation>同时下载的任务数</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>已保存。</translation>
    </message>
    <message>
        <source>The settings could not be saved and hold until the program ends.</source>
        <translation>设置未能保存，在程序结束前有效。</translation>
    </message>
</context>
<context>
    <name>DetailTexts</name>
    <message>
        <source>network</source>
        <translation>网络</translation>
    </message>
    <message>
        <source>no connection</source>
        <translation>没有连接</translation>
    </message>
    <message>
        <source>no connection within 10 s</source>
        <translation>10 秒内未能连接</translation>
    </message>
    <message>
        <source>no answer over UDP within 5 s</source>
        <translation>5 秒内未收到 UDP 应答</translation>
    </message>
    <message>
        <source>no transfer server is known</source>
        <translation>没有已知的传输服务器</translation>
    </message>
    <message>
        <source>the connection is closed</source>
        <translation>连接已关闭</translation>
    </message>
    <message>
        <source>the other side does not answer</source>
        <translation>对方没有应答</translation>
    </message>
    <message>
        <source>the other side does not read</source>
        <translation>对方不接收数据</translation>
    </message>
    <message>
        <source>the other side has closed the connection</source>
        <translation>对方已关闭连接</translation>
    </message>
    <message>
        <source>the other side has not been heard of for 15 s</source>
        <translation>已有 15 秒未收到对方的消息</translation>
    </message>
    <message>
        <source>the server does not know this connection any more</source>
        <translation>服务器已不再认识此连接</translation>
    </message>
    <message>
        <source>the server showed a certificate that is not the expected one</source>
        <translation>服务器出示的证书与预期不符</translation>
    </message>
    <message>
        <source>the service is stopping</source>
        <translation>服务正在停止</translation>
    </message>
    <message>
        <source>too many connections</source>
        <translation>连接过多</translation>
    </message>
    <message>
        <source>not logged in for transfers</source>
        <translation>尚未登录，无法传输</translation>
    </message>
    <message>
        <source>the address of the service is not valid</source>
        <translation>服务地址无效</translation>
    </message>
    <message>
        <source>the service answered something that is no ticket</source>
        <translation>服务返回的内容不是传输凭据</translation>
    </message>
    <message>
        <source>the ticket is not valid</source>
        <translation>传输凭据无效</translation>
    </message>
    <message>
        <source>the ticket is for something else</source>
        <translation>传输凭据不适用于此传输</translation>
    </message>
    <message>
        <source>too many transfers at once</source>
        <translation>同时进行的传输过多</translation>
    </message>
    <message>
        <source>The user has no home here.</source>
        <translation>用户在此没有主文件夹。</translation>
    </message>
    <message>
        <source>The sub-center&apos;s storage is not available.</source>
        <translation>分中心的存储不可用。</translation>
    </message>
    <message>
        <source>The sub-center moves no files now.</source>
        <translation>分中心目前不传输文件。</translation>
    </message>
    <message>
        <source>There is no such sub-center.</source>
        <translation>没有这个分中心。</translation>
    </message>
    <message>
        <source>Too many tickets wait for their use.</source>
        <translation>等待使用的传输凭据过多。</translation>
    </message>
    <message>
        <source>a block arrives damaged again and again</source>
        <translation>某个数据块反复损坏</translation>
    </message>
    <message>
        <source>a folder</source>
        <translation>是文件夹</translation>
    </message>
    <message>
        <source>a name that cannot be transferred</source>
        <translation>名称无法传输</translation>
    </message>
    <message>
        <source>access denied</source>
        <translation>拒绝访问</translation>
    </message>
    <message>
        <source>another transfer is writing this file</source>
        <translation>另一个传输正在写入此文件</translation>
    </message>
    <message>
        <source>file error</source>
        <translation>文件错误</translation>
    </message>
    <message>
        <source>file is too large</source>
        <translation>文件过大</translation>
    </message>
    <message>
        <source>folders are nested too deeply</source>
        <translation>文件夹嵌套过深</translation>
    </message>
    <message>
        <source>no space left</source>
        <translation>没有剩余空间</translation>
    </message>
    <message>
        <source>not a folder</source>
        <translation>不是文件夹</translation>
    </message>
    <message>
        <source>not a name that can be stored</source>
        <translation>名称无法存储</translation>
    </message>
    <message>
        <source>not enough storage</source>
        <translation>存储空间不足</translation>
    </message>
    <message>
        <source>not found</source>
        <translation>未找到</translation>
    </message>
    <message>
        <source>the file arrives damaged again and again</source>
        <translation>文件反复损坏</translation>
    </message>
    <message>
        <source>the file changed while it was sent</source>
        <translation>文件在发送过程中发生了变化</translation>
    </message>
    <message>
        <source>the file does not match its digest</source>
        <translation>文件与其摘要不符</translation>
    </message>
    <message>
        <source>the file on the disk has another size</source>
        <translation>磁盘上的文件大小不同</translation>
    </message>
    <message>
        <source>the name cannot be stored here</source>
        <translation>此名称无法在此存储</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>名称已存在</translation>
    </message>
    <message>
        <source>the name is the one of a partial file</source>
        <translation>名称与未完成文件的名称相同</translation>
    </message>
    <message>
        <source>the quota does not allow a file of this size</source>
        <translation>配额不足以存放此大小的文件</translation>
    </message>
    <message>
        <source>the quota is used up</source>
        <translation>配额已用完</translation>
    </message>
    <message>
        <source>Connection refused</source>
        <translation>连接被拒绝</translation>
    </message>
    <message>
        <source>Connection reset by peer</source>
        <translation>连接被对方重置</translation>
    </message>
    <message>
        <source>Connection timed out</source>
        <translation>连接超时</translation>
    </message>
    <message>
        <source>Disk quota exceeded</source>
        <translation>超出磁盘配额</translation>
    </message>
    <message>
        <source>End of file</source>
        <translation>连接已结束</translation>
    </message>
    <message>
        <source>File name too long</source>
        <translation>文件名过长</translation>
    </message>
    <message>
        <source>Input/output error</source>
        <translation>输入/输出错误</translation>
    </message>
    <message>
        <source>Network is unreachable</source>
        <translation>网络不可达</translation>
    </message>
    <message>
        <source>No route to host</source>
        <translation>没有到主机的路由</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>设备上没有剩余空间</translation>
    </message>
    <message>
        <source>No such file or directory</source>
        <translation>没有那个文件或目录</translation>
    </message>
    <message>
        <source>Permission denied</source>
        <translation>权限不足</translation>
    </message>
    <message>
        <source>Read-only file system</source>
        <translation>只读文件系统</translation>
    </message>
    <message>
        <source>cannot connect</source>
        <translation>无法连接</translation>
    </message>
    <message>
        <source>cannot open the folder</source>
        <translation>无法打开文件夹</translation>
    </message>
    <message>
        <source>cannot read the folder</source>
        <translation>无法读取文件夹</translation>
    </message>
    <message>
        <source>connection lost</source>
        <translation>连接中断</translation>
    </message>
    <message>
        <source>host not found</source>
        <translation>未找到主机</translation>
    </message>
    <message>
        <source>links and special files that were left out</source>
        <translation>略过的链接和特殊文件</translation>
    </message>
    <message>
        <source>no encrypted connection</source>
        <translation>没有加密连接</translation>
    </message>
    <message>
        <source>the other side broke the protocol</source>
        <translation>对方违反了协议</translation>
    </message>
</context>
<context>
    <name>DialogFrame</name>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>EmptyFolderPanel</name>
    <message>
        <source>Upload</source>
        <translation>上传</translation>
    </message>
    <message>
        <source>Nothing found</source>
        <translation>未找到任何内容</translation>
    </message>
    <message>
        <source>large space</source>
        <translation>超大空间</translation>
    </message>
    <message>
        <source>No file or folder of the drive has a name like that.</source>
        <translation>云盘中没有名称与此匹配的文件或文件夹。</translation>
    </message>
    <message>
        <source>and waiting for  you to fill, hurry to upload ~</source>
        <translation>等您来装满，赶快上传吧～</translation>
    </message>
    <message>
        <source>No name in this folder holds the text of the filter.</source>
        <translation>此文件夹中没有名称包含筛选文字。</translation>
    </message>
</context>
<context>
    <name>FileDialog</name>
    <message>
        <source>Icons</source>
        <translation>图标</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>详细信息</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>新建文件夹</translation>
    </message>
    <message>
        <source>Parent folder</source>
        <translation>上级文件夹</translation>
    </message>
    <message>
        <source>Select(&amp;S)</source>
        <translation>选择(&amp;S)</translation>
    </message>
    <message>
        <source>Local files</source>
        <translation>本地文件</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>文件夹</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Cancel(&amp;C)</source>
        <translation>取消(&amp;C)</translation>
    </message>
    <message>
        <source>The folder could not be made here.</source>
        <translation>无法在此处创建文件夹。</translation>
    </message>
    <message>
        <source>%1 selected</source>
        <translation>已选择 %1 项</translation>
    </message>
    <message>
        <source>Places</source>
        <translation>位置</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>主目录</translation>
    </message>
    <message>
        <source>Desktop</source>
        <translation>桌面</translation>
    </message>
    <message>
        <source>Documents</source>
        <translation>文档</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>Pictures</source>
        <translation>图片</translation>
    </message>
    <message>
        <source>Videos</source>
        <translation>视频</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>筛选</translation>
    </message>
    <message>
        <source>There is no such folder.</source>
        <translation>没有这个文件夹。</translation>
    </message>
    <message>
        <source>The folder cannot be read.</source>
        <translation>无法读取该文件夹。</translation>
    </message>
</context>
<context>
    <name>FileItemModel</name>
    <message>
        <source>Transfer not finished</source>
        <translation>传输未完成</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Modified</source>
        <translation>修改日期</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>路径</translation>
    </message>
    <message>
        <source>All Files</source>
        <translation>全部文件</translation>
    </message>
    <message>
        <source>Move to &quot;%1&quot;</source>
        <translation>移动到“%1”</translation>
    </message>
    <message>
        <source>Upload to &quot;%1&quot;</source>
        <translation>上传到“%1”</translation>
    </message>
</context>
<context>
    <name>FileListWidget</name>
    <message>
        <source>Files</source>
        <translation>文件</translation>
    </message>
</context>
<context>
    <name>FileNameDelegate</name>
    <message>
        <source>New name</source>
        <translation>新名称</translation>
    </message>
</context>
<context>
    <name>FileNameRules</name>
    <message>
        <source>Please enter the file name!</source>
        <translation>请输入文件名！</translation>
    </message>
    <message>
        <source>File name already exists!</source>
        <translation>文件名已存在！</translation>
    </message>
    <message>
        <source>Consistent with the original file name!</source>
        <translation>与原文件名相同！</translation>
    </message>
</context>
<context>
    <name>FilePreviewBase</name>
    <message>
        <source>Preview of the file is not supported.</source>
        <translation>不支持预览该文件。</translation>
    </message>
    <message>
        <source>Preview of file larger than %1MB is not supported, please download it.</source>
        <translation>不支持预览大于 %1MB 的文件，请下载后查看。</translation>
    </message>
    <message>
        <source>File loading failed!</source>
        <translation>文件加载失败！</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>FileTexts</name>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Modifyed</source>
        <translation>修改日期</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 等另外 %2 项</translation>
    </message>
</context>
<context>
    <name>FileTreeWidget</name>
    <message>
        <source>Files</source>
        <translation>文件</translation>
    </message>
</context>
<context>
    <name>FileWidget</name>
    <message>
        <source>Open(&amp;O)</source>
        <translation>打开(&amp;O)</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>Rename(&amp;R)</source>
        <translation>重命名(&amp;R)</translation>
    </message>
    <message>
        <source>Delete(&amp;D)</source>
        <translation>删除(&amp;D)</translation>
    </message>
    <message>
        <source>Preview(&amp;P)</source>
        <translation>预览(&amp;P)</translation>
    </message>
    <message>
        <source>Cut(&amp;X)</source>
        <translation>剪切(&amp;X)</translation>
    </message>
    <message>
        <source>Copy(&amp;C)</source>
        <translation>复制(&amp;C)</translation>
    </message>
    <message>
        <source>Paste(&amp;V)</source>
        <translation>粘贴(&amp;V)</translation>
    </message>
    <message>
        <source>Compress</source>
        <translation>压缩</translation>
    </message>
    <message>
        <source>Decompress</source>
        <translation>解压缩</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Modified time</source>
        <translation>修改时间</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Sort by</source>
        <translation>排序方式</translation>
    </message>
    <message>
        <source>Move to(&amp;M)</source>
        <translation>移动到(&amp;M)</translation>
    </message>
</context>
<context>
    <name>FinishedItemWidget</name>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>File not found!</source>
        <translation>找不到文件！</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Open file</source>
        <translation>打开文件</translation>
    </message>
    <message>
        <source>Open folder where file resides</source>
        <translation>打开文件所在文件夹</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>重试</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
</context>
<context>
    <name>FinishedListWidget</name>
    <message>
        <source>Open file</source>
        <translation>打开文件</translation>
    </message>
    <message>
        <source>Open folder where file resides</source>
        <translation>打开文件所在文件夹</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>重试</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Promption</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Are you sure to clear all record?</source>
        <translation>确定要清除所有记录吗？</translation>
    </message>
    <message>
        <source>Nothing has been transferred yet.</source>
        <translation>还没有传输过任何文件。</translation>
    </message>
</context>
<context>
    <name>FinishedTaskModel</name>
    <message>
        <source>To: %1</source>
        <translation>到：%1</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>successful</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>失败</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Sub-center</source>
        <translation>分中心</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>结果</translation>
    </message>
</context>
<context>
    <name>GlobalConfig</name>
    <message>
        <source>Unknown Request Error!</source>
        <translation>未知的请求错误！</translation>
    </message>
    <message>
        <source>Failed to get subcenter list.</source>
        <translation>获取分中心列表失败。</translation>
    </message>
    <message>
        <source>Failed to get user info.</source>
        <translation>获取用户信息失败。</translation>
    </message>
    <message>
        <source>Request Error</source>
        <translation>请求错误</translation>
    </message>
</context>
<context>
    <name>HeaderBar</name>
    <message>
        <source>Transfer List</source>
        <translation>传输列表</translation>
    </message>
    <message>
        <source>My Disk</source>
        <translation>我的网盘</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>Setting</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>New tab</source>
        <translation>新建标签页</translation>
    </message>
    <message>
        <source>Reopen the closed tab</source>
        <translation>重新打开已关闭的标签页</translation>
    </message>
    <message>
        <source>Split side by side</source>
        <translation>左右分屏</translation>
    </message>
    <message>
        <source>Close this pane</source>
        <translation>关闭此窗格</translation>
    </message>
    <message>
        <source>Minimize to tray</source>
        <translation>最小化到托盘</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>菜单</translation>
    </message>
    <message>
        <source>Storage used</source>
        <translation>已用空间</translation>
    </message>
</context>
<context>
    <name>ImagePreviewWidget</name>
    <message>
        <source>Fit</source>
        <translation>适应</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Previous image</source>
        <translation>上一张</translation>
    </message>
    <message>
        <source>Next image</source>
        <translation>下一张</translation>
    </message>
    <message>
        <source>Fit to the window</source>
        <translation>适应窗口</translation>
    </message>
    <message>
        <source>Full size</source>
        <translation>原始大小</translation>
    </message>
    <message>
        <source>Darker</source>
        <translation>调暗</translation>
    </message>
    <message>
        <source>Brighter</source>
        <translation>调亮</translation>
    </message>
    <message>
        <source>Image</source>
        <translation>图片</translation>
    </message>
    <message>
        <source>Preview of the file is not supported.</source>
        <translation>不支持预览该文件。</translation>
    </message>
    <message>
        <source>File loading failed!</source>
        <translation>文件加载失败！</translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation>正在加载...</translation>
    </message>
    <message>
        <source>Preview of file larger than %1MB is not supported, please download it.</source>
        <translation>不支持预览大于 %1MB 的文件，请下载后查看。</translation>
    </message>
    <message>
        <source>Loading... %1%</source>
        <translation>正在加载... %1%</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>曝光</translation>
    </message>
</context>
<context>
    <name>LinkShareDialog</name>
    <message>
        <source>Share by link</source>
        <translation>通过链接分享</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>The link was made and copied.</source>
        <translation>链接已创建并复制。</translation>
    </message>
    <message>
        <source>The link was made and copied with its password.</source>
        <translation>链接已创建，并连同密码一起复制。</translation>
    </message>
    <message>
        <source>The password was changed; the old one opens nothing any more.</source>
        <translation>密码已修改，旧密码不再有效。</translation>
    </message>
    <message>
        <source>Everybody with the link can see it</source>
        <translation>拥有链接的任何人都可以查看</translation>
    </message>
    <message>
        <source>Only with this password:</source>
        <translation>仅凭此密码：</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>密码</translation>
    </message>
    <message>
        <source>Another one</source>
        <translation>换一个</translation>
    </message>
    <message>
        <source>Make the link</source>
        <translation>创建链接</translation>
    </message>
    <message>
        <source>Link</source>
        <translation>链接</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>复制</translation>
    </message>
    <message>
        <source>Change</source>
        <translation>修改</translation>
    </message>
    <message>
        <source>End this share</source>
        <translation>结束此分享</translation>
    </message>
    <message>
        <source>The link was copied.</source>
        <translation>链接已复制。</translation>
    </message>
    <message>
        <source>Link and password were copied.</source>
        <translation>链接和密码已复制。</translation>
    </message>
    <message>
        <source>Please type a password.</source>
        <translation>请输入密码。</translation>
    </message>
    <message>
        <source>One moment...</source>
        <translation>请稍候...</translation>
    </message>
</context>
<context>
    <name>LoginCycle</name>
    <message>
        <source>ArkvaleTolma is crashed!</source>
        <translation>ArkvaleTolma 已崩溃！</translation>
    </message>
    <message>
        <source>app crash</source>
        <translation>程序崩溃</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>LoginUI</name>
    <message>
        <source>Login</source>
        <translation>登录</translation>
    </message>
    <message>
        <source>Minimise</source>
        <translation>最小化</translation>
    </message>
    <message>
        <source>NRX Cloud Drive</source>
        <translation>NRX 云盘</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>用户名</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>密码</translation>
    </message>
    <message>
        <source>Show password</source>
        <translation>显示密码</translation>
    </message>
    <message>
        <source>Remember Me</source>
        <translation>记住我</translation>
    </message>
    <message>
        <source>Auto Login</source>
        <translation>自动登录</translation>
    </message>
    <message>
        <source>Forgot password</source>
        <translation>忘记密码</translation>
    </message>
    <message>
        <source>Register now</source>
        <translation>立即注册</translation>
    </message>
    <message>
        <source>The service does not answer. You can try again.</source>
        <translation>服务没有响应，您可以重试。</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Please enter your username and password!</source>
        <translation>请输入用户名和密码！</translation>
    </message>
    <message>
        <source>Logging in</source>
        <translation>正在登录</translation>
    </message>
    <message>
        <source>Login failed.</source>
        <translation>登录失败。</translation>
    </message>
    <message>
        <source>NRX Cloud Driver User Agreement</source>
        <translation>《NRX 云盘用户协议》</translation>
    </message>
    <message>
        <source>Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been permanently frozen! Please read the %1.</source>
        <translation>尊敬的用户！由于您在使用 NRX 云盘时存在违规行为，您的账号已被永久冻结！请阅读%1。</translation>
    </message>
    <message>
        <source>further notice</source>
        <translation>另行通知</translation>
    </message>
    <message>
        <source>Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been frozen to %1! Please read the %2.</source>
        <translation>尊敬的用户！由于您在使用 NRX 云盘时存在违规行为，您的账号已被冻结，解冻时间：%1！请阅读%2。</translation>
    </message>
    <message>
        <source>The page could not be opened.</source>
        <translation>无法打开页面。</translation>
    </message>
    <message>
        <source>A new version is available.</source>
        <translation>有新版本可用。</translation>
    </message>
    <message>
        <source>Caps Lock is on</source>
        <translation>大写锁定已开启</translation>
    </message>
</context>
<context>
    <name>MoveDialog</name>
    <message>
        <source>Move to</source>
        <translation>移动到</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>移动</translation>
    </message>
</context>
<context>
    <name>MsgBox</name>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Infomation</source>
        <translation>信息</translation>
    </message>
    <message>
        <source>title</source>
        <translation>标题</translation>
    </message>
</context>
<context>
    <name>MsgDlg</name>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Infomation</source>
        <translation>信息</translation>
    </message>
    <message>
        <source>title</source>
        <translation>标题</translation>
    </message>
</context>
<context>
    <name>MsgDlgEx</name>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Infomation</source>
        <translation>信息</translation>
    </message>
    <message>
        <source>title</source>
        <translation>标题</translation>
    </message>
</context>
<context>
    <name>MyDiskDirectoryBrowser</name>
    <message>
        <source>New Folder</source>
        <translation>新建文件夹</translation>
    </message>
    <message>
        <source>Please select the location copy to</source>
        <translation>请选择要复制到的位置</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Path not found!</source>
        <translation>路径不存在！</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>无法打开该文件夹。</translation>
    </message>
    <message>
        <source>The folder could not be created.</source>
        <translation>无法新建该文件夹。</translation>
    </message>
</context>
<context>
    <name>MyDiskDirectoryBrowserTree</name>
    <message>
        <source>Folders</source>
        <translation>文件夹</translation>
    </message>
    <message>
        <source>All Files</source>
        <translation>全部文件</translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation>正在加载...</translation>
    </message>
</context>
<context>
    <name>NetDiskServer</name>
    <message>
        <source>Login expired.</source>
        <translation>登录已过期。</translation>
    </message>
    <message>
        <source>Access Denied!</source>
        <translation>访问被拒绝！</translation>
    </message>
    <message>
        <source>Search Result</source>
        <translation>搜索结果</translation>
    </message>
</context>
<context>
    <name>NetdiskPage</name>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Path not found!</source>
        <translation>找不到路径！</translation>
    </message>
    <message>
        <source>items</source>
        <translation>个项目</translation>
    </message>
    <message>
        <source>files</source>
        <translation>个文件</translation>
    </message>
    <message>
        <source>folders</source>
        <translation>个文件夹</translation>
    </message>
    <message>
        <source>Icon</source>
        <translation>图标</translation>
    </message>
    <message>
        <source>List</source>
        <translation>列表</translation>
    </message>
    <message>
        <source>Switch to list mode</source>
        <translation>切换到列表模式</translation>
    </message>
    <message>
        <source>Switch to icon mode</source>
        <translation>切换到图标模式</translation>
    </message>
    <message>
        <source>Adding to the transfer list...</source>
        <translation>正在添加到传输列表...</translation>
    </message>
    <message>
        <source>Tasks is running...</source>
        <translation>任务正在进行...</translation>
    </message>
    <message>
        <source>Select file(s)/folder(s) to upload.</source>
        <translation>选择要上传的文件/文件夹</translation>
    </message>
    <message>
        <source>Select target folder</source>
        <translation>选择目标文件夹</translation>
    </message>
    <message>
        <source>The upload was not started: the folder&apos;s contents could not be read.</source>
        <translation>上传未开始：无法读取文件夹的内容。</translation>
    </message>
    <message>
        <source>%1 of the chosen files or folders cannot be read.</source>
        <translation>所选的文件或文件夹中有 %1 个无法读取。</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Please select file(s)/folder(s) to download.</source>
        <translation>请选择要下载的文件/文件夹。</translation>
    </message>
    <message>
        <source>The folder &quot;%1&quot; cannot be used.</source>
        <translation>无法使用文件夹“%1”。</translation>
    </message>
    <message>
        <source>Please select file(s)/folder(s) you want to delete.</source>
        <translation>请选择要删除的文件/文件夹。</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Delete selected items?</source>
        <translation>确定要删除所选项目吗？</translation>
    </message>
    <message>
        <source>Please select the file or directory you want to rename!</source>
        <translation>请选择要重命名的文件或文件夹！</translation>
    </message>
    <message>
        <source>A name must not begin with a dot or hold one of \ / : * ? &quot; &lt; &gt; |</source>
        <translation>名称不能以点开头，也不能包含以下任何字符：\ / : * ? &quot; &lt; &gt; |</translation>
    </message>
    <message>
        <source>These items are in &quot;%1&quot;. Download them there and upload them here.</source>
        <translation>这些项目位于“%1”。请在那里下载，再上传到此处。</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>上传</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>新建文件夹</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>重命名</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜索</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>后退</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>前进</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>主目录</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>刷新</translation>
    </message>
    <message>
        <source>Storage used</source>
        <translation>已用空间</translation>
    </message>
    <message>
        <source>The folder &quot;%1&quot; could not be opened: the service does not answer as expected.</source>
        <translation>无法打开文件夹“%1”：服务没有按预期应答。</translation>
    </message>
    <message>
        <source>real name authentication</source>
        <translation>实名认证</translation>
    </message>
    <message>
        <source>Dear users, you have not been %1, temporarily unable to share.</source>
        <translation>亲爱的用户，您还没有%1，暂时无法分享。</translation>
    </message>
    <message>
        <source>Please select one file/folder to share.</source>
        <translation>请选择一个文件或文件夹进行分享。</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>All commands</source>
        <translation>全部命令</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>筛选</translation>
    </message>
    <message>
        <source>Show only names that hold this text</source>
        <translation>只显示名称包含此文字的项目</translation>
    </message>
    <message>
        <source>Search the whole drive</source>
        <translation>搜索整个网盘</translation>
    </message>
    <message>
        <source>Share by link</source>
        <translation>通过链接分享</translation>
    </message>
    <message>
        <source>Share with users</source>
        <translation>分享给用户</translation>
    </message>
    <message>
        <source>Parent folder</source>
        <translation>上级文件夹</translation>
    </message>
    <message>
        <source>Edit path</source>
        <translation>编辑路径</translation>
    </message>
    <message>
        <source>Select all</source>
        <translation>全选</translation>
    </message>
    <message>
        <source>%1 selected</source>
        <translation>已选择 %1 项</translation>
    </message>
    <message>
        <source>not allowed</source>
        <translation>没有权限</translation>
    </message>
    <message>
        <source>not there any more</source>
        <translation>已不存在</translation>
    </message>
    <message>
        <source>the name is taken</source>
        <translation>名称已被占用</translation>
    </message>
    <message>
        <source>not enough room</source>
        <translation>空间不足</translation>
    </message>
    <message>
        <source>the service cannot be reached</source>
        <translation>无法连接到服务</translation>
    </message>
    <message>
        <source>the service refused, error %1</source>
        <translation>服务拒绝了请求，错误 %1</translation>
    </message>
    <message>
        <source>Could not create %1: %2.</source>
        <translation>无法创建 %1：%2。</translation>
    </message>
    <message>
        <source>Could not delete %1: %2.</source>
        <translation>无法删除 %1：%2。</translation>
    </message>
    <message>
        <source>Could not move %1: %2.</source>
        <translation>无法移动 %1：%2。</translation>
    </message>
    <message>
        <source>Could not copy %1: %2.</source>
        <translation>无法复制 %1：%2。</translation>
    </message>
    <message>
        <source>Could not rename %1: %2.</source>
        <translation>无法重命名 %1：%2。</translation>
    </message>
    <message>
        <source>Could not compress into %1: %2.</source>
        <translation>无法压缩为 %1：%2。</translation>
    </message>
    <message>
        <source>Could not decompress %1: %2.</source>
        <translation>无法解压 %1：%2。</translation>
    </message>
    <message>
        <source>Could not search for %1: %2.</source>
        <translation>无法搜索 %1：%2。</translation>
    </message>
</context>
<context>
    <name>NewFolderWidget</name>
    <message>
        <source>New Folder</source>
        <translation>新建文件夹</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>重命名</translation>
    </message>
    <message>
        <source>Compress</source>
        <translation>压缩</translation>
    </message>
    <message>
        <source>Enter the file name</source>
        <translation>输入文件名</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>NoticeBar</name>
    <message>
        <source>Try again</source>
        <translation>重试</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>PathChooser</name>
    <message>
        <source>%1: the connection over %2 broke</source>
        <translation>%1：通过 %2 的连接已断开</translation>
    </message>
    <message>
        <source>%1: nothing came over %2 any more</source>
        <translation>%1：%2 上不再有数据到达</translation>
    </message>
    <message>
        <source>%1: trying whether it is faster than %2</source>
        <translation>%1：正在测试是否比 %2 更快</translation>
    </message>
    <message>
        <source>UDP: it was the faster one here</source>
        <translation>UDP：此前在这里更快</translation>
    </message>
    <message>
        <source>UDP: a long line (%1 ms)</source>
        <translation>UDP：线路较长（%1 毫秒）</translation>
    </message>
    <message>
        <source>UDP: TCP does not pass</source>
        <translation>UDP：TCP 无法通过</translation>
    </message>
    <message>
        <source>TCP: a short line (%1 ms)</source>
        <translation>TCP：线路较短（%1 毫秒）</translation>
    </message>
    <message>
        <source>TCP: the transfer type asks for it</source>
        <translation>TCP：由传输类型指定</translation>
    </message>
    <message>
        <source>TCP: the server offers no UDP</source>
        <translation>TCP：服务器不提供 UDP</translation>
    </message>
    <message>
        <source>TCP: UDP does not pass</source>
        <translation>TCP：UDP 无法通过</translation>
    </message>
    <message>
        <source>TCP: it was fast enough here</source>
        <translation>TCP：此前在这里速度足够</translation>
    </message>
    <message>
        <source>TCP: UDP does not answer yet</source>
        <translation>TCP：UDP 尚无应答</translation>
    </message>
    <message>
        <source>TCP: it fills the target speed</source>
        <translation>TCP：已达到目标速度</translation>
    </message>
    <message>
        <source>UDP: faster than TCP here (%1 and %2 Mbps)</source>
        <translation>UDP：在这里比 TCP 更快（%1 与 %2 Mbps）</translation>
    </message>
    <message>
        <source>TCP: not slower than UDP here (%1 and %2 Mbps)</source>
        <translation>TCP：在这里不比 UDP 慢（%1 与 %2 Mbps）</translation>
    </message>
</context>
<context>
    <name>PreviewProgress</name>
    <message>
        <source>Preview</source>
        <translation>预览</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>进度</translation>
    </message>
</context>
<context>
    <name>ReportDialog</name>
    <message>
        <source>It belongs to somebody else</source>
        <translation>内容属于他人</translation>
    </message>
    <message>
        <source>It is harmful, such as a virus or a fraud</source>
        <translation>内容有害，例如病毒或诈骗</translation>
    </message>
    <message>
        <source>It is illegal or offensive</source>
        <translation>内容违法或令人反感</translation>
    </message>
    <message>
        <source>It is advertising that I did not ask for</source>
        <translation>未经请求的广告</translation>
    </message>
    <message>
        <source>Something else</source>
        <translation>其他原因</translation>
    </message>
    <message>
        <source>Report a share</source>
        <translation>举报分享</translation>
    </message>
    <message>
        <source>%1, shared by %2</source>
        <translation>%1，由 %2 分享</translation>
    </message>
    <message>
        <source>What is wrong with it?</source>
        <translation>它有什么问题？</translation>
    </message>
    <message>
        <source>Pictures</source>
        <translation>图片</translation>
    </message>
    <message>
        <source>Add pictures...</source>
        <translation>添加图片...</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>移除</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>举报</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Add pictures</source>
        <translation>添加图片</translation>
    </message>
    <message>
        <source>At most 5 pictures of 3.5 MB together.</source>
        <translation>最多 5 张图片，总计不超过 3.5 MB。</translation>
    </message>
</context>
<context>
    <name>SelectCenterDialog</name>
    <message>
        <source>Please select default subcenter</source>
        <translation>请选择默认分中心</translation>
    </message>
    <message>
        <source>Tips: Files are different among sub centers</source>
        <translation>提示：各分中心的文件互不相同</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Select Subcenter</source>
        <translation>选择分中心</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>Transfer Settings</source>
        <translation>传输设置</translation>
    </message>
    <message>
        <source>Transfer</source>
        <translation>传输</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>任务</translation>
    </message>
</context>
<context>
    <name>ShareBrowser</name>
    <message>
        <source>Shared with me</source>
        <translation>与我分享的</translation>
    </message>
    <message>
        <source>This folder is empty.</source>
        <translation>此文件夹为空。</translation>
    </message>
</context>
<context>
    <name>ShareListModel</name>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Shared with</source>
        <translation>分享给</translation>
    </message>
    <message>
        <source>Shared by</source>
        <translation>分享者</translation>
    </message>
    <message>
        <source>Shared</source>
        <translation>分享时间</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
</context>
<context>
    <name>ShareListView</name>
    <message>
        <source>No share matches the search.</source>
        <translation>没有符合搜索的分享。</translation>
    </message>
    <message>
        <source>You have shared nothing so far. Select a file or folder on your disk and choose &quot;Share&quot;.</source>
        <translation>您还没有分享任何内容。请在网盘中选择文件或文件夹，然后点击“分享”。</translation>
    </message>
    <message>
        <source>Nobody has shared anything with you so far.</source>
        <translation>还没有人与您分享内容。</translation>
    </message>
    <message>
        <source>Shared by me</source>
        <translation>我的分享</translation>
    </message>
    <message>
        <source>Shared with me</source>
        <translation>与我分享的</translation>
    </message>
</context>
<context>
    <name>SharePage</name>
    <message>
        <source>Thank you. The report was sent.</source>
        <translation>谢谢，举报已发送。</translation>
    </message>
    <message>
        <source>Saved to your disk.</source>
        <translation>已保存到您的网盘。</translation>
    </message>
    <message>
        <source>Shared by me</source>
        <translation>我的分享</translation>
    </message>
    <message>
        <source>Shared with me</source>
        <translation>与我分享的</translation>
    </message>
    <message>
        <source>Link and users</source>
        <translation>链接与用户</translation>
    </message>
    <message>
        <source>Show on my disk</source>
        <translation>在网盘中显示</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>打开</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>Save to my disk</source>
        <translation>保存到我的网盘</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>举报</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜索</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>刷新</translation>
    </message>
    <message>
        <source>End sharing</source>
        <translation>结束分享</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>忽略</translation>
    </message>
    <message>
        <source>Copy the link</source>
        <translation>复制链接</translation>
    </message>
    <message>
        <source>End sharing of %1? The files stay; links to them open nothing any more.</source>
        <translation>结束对 %1 的分享？文件会保留，但链接将失效。</translation>
    </message>
    <message>
        <source>Ignore %1? It disappears from this list.</source>
        <translation>忽略 %1？它将从此列表中消失。</translation>
    </message>
    <message>
        <source>Select target folder</source>
        <translation>选择目标文件夹</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>ShareService</name>
    <message>
        <source>Access Denied!</source>
        <translation>访问被拒绝！</translation>
    </message>
    <message>
        <source>This is not allowed.</source>
        <translation>不允许此操作。</translation>
    </message>
    <message>
        <source>The share, the item or the user is not there any more.</source>
        <translation>分享、项目或用户已不存在。</translation>
    </message>
    <message>
        <source>Something of that name is there already.</source>
        <translation>已存在同名项目。</translation>
    </message>
    <message>
        <source>That is too large.</source>
        <translation>内容过大。</translation>
    </message>
    <message>
        <source>Too many requests. Please try again later.</source>
        <translation>请求过多，请稍后再试。</translation>
    </message>
    <message>
        <source>There is not enough space.</source>
        <translation>空间不足。</translation>
    </message>
    <message>
        <source>The file cannot be written.</source>
        <translation>无法写入文件。</translation>
    </message>
    <message>
        <source>The request was refused.</source>
        <translation>请求被拒绝。</translation>
    </message>
    <message>
        <source>The service cannot be reached now.</source>
        <translation>目前无法连接服务。</translation>
    </message>
</context>
<context>
    <name>ShareTexts</name>
    <message>
        <source>Everybody with the link</source>
        <translation>拥有链接的任何人</translation>
    </message>
    <message>
        <source>Whoever has link and password</source>
        <translation>拥有链接和密码的人</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 等另外 %2 人</translation>
    </message>
    <message>
        <source>Password: %1</source>
        <translation>密码：%1</translation>
    </message>
</context>
<context>
    <name>SpeedGroup</name>
    <message>
        <source>Smart</source>
        <translation>智能</translation>
    </message>
    <message>
        <source>High-speed</source>
        <translation>高速</translation>
    </message>
    <message>
        <source>Target-speed</source>
        <translation>目标速度</translation>
    </message>
    <message>
        <source>the target speed is the upper limit of the speed</source>
        <translation>目标速度是速度的上限</translation>
    </message>
    <message>
        <source>According to the network situation, the smart mode adjusts the transmission speed dynamically</source>
        <translation>智能模式根据网络状况动态调整传输速度</translation>
    </message>
    <message>
        <source>High speed mode will seize the network to send data, in some network conditions can effectively enhance the transmission rate of 5-10 times</source>
        <translation>高速模式会抢占网络发送数据，在某些网络条件下可将传输速率有效提升 5-10 倍</translation>
    </message>
    <message>
        <source>( Max Target-speed: %1 Mbps )</source>
        <translation>( 最大目标速度：%1 Mbps )</translation>
    </message>
</context>
<context>
    <name>TabWidget</name>
    <message>
        <source>New tab</source>
        <translation>新建标签页</translation>
    </message>
    <message>
        <source>Move to a new pane</source>
        <translation>移动到新窗格</translation>
    </message>
    <message>
        <source>Close tab</source>
        <translation>关闭标签页</translation>
    </message>
    <message>
        <source>Close other tabs</source>
        <translation>关闭其他标签页</translation>
    </message>
</context>
<context>
    <name>TaskDetailInfoWidget</name>
    <message>
        <source>task :</source>
        <translation>任务：</translation>
    </message>
    <message>
        <source>connect times :</source>
        <translation>连接次数：</translation>
    </message>
    <message>
        <source>loss :</source>
        <translation>丢包：</translation>
    </message>
    <message>
        <source>ack :</source>
        <translation>确认时延：</translation>
    </message>
    <message>
        <source>sending :</source>
        <translation>发送：</translation>
    </message>
    <message>
        <source>receiving :</source>
        <translation>接收：</translation>
    </message>
    <message>
        <source>sent again :</source>
        <translation>重传：</translation>
    </message>
    <message>
        <source>carrier :</source>
        <translation>承载：</translation>
    </message>
    <message>
        <source>reason :</source>
        <translation>原因：</translation>
    </message>
    <message>
        <source>connected</source>
        <translation>已连接</translation>
    </message>
    <message>
        <source>connecting</source>
        <translation>正在连接</translation>
    </message>
    <message>
        <source>not connected</source>
        <translation>未连接</translation>
    </message>
    <message>
        <source>The network is not good, please check the local network or parameter settings</source>
        <translation>网络状况不佳，请检查本地网络或参数设置</translation>
    </message>
    <message>
        <source>please check your network or firewall settings</source>
        <translation>请检查您的网络或防火墙设置</translation>
    </message>
    <message>
        <source>nothing to transfer</source>
        <translation>没有需要传输的内容</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 毫秒</translation>
    </message>
</context>
<context>
    <name>TaskListFrame</name>
    <message>
        <source>Select all</source>
        <translation>全选</translation>
    </message>
    <message>
        <source>Filter...</source>
        <translation>筛选...</translation>
    </message>
    <message>
        <source>Filter by name</source>
        <translation>按名称筛选</translation>
    </message>
    <message>
        <source>No transfer has a name like that.</source>
        <translation>没有这个名称的传输任务。</translation>
    </message>
</context>
<context>
    <name>TransferDispatch</name>
    <message>
        <source>real name authentication</source>
        <translation>实名认证</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your upload requests.If you accept, please click OK.</source>
        <translation>尊敬的用户！您尚未通过%1，上传请求中的视频文件将被忽略。如果接受，请点击“确定”。</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your upload folders.If you accept, please click OK.</source>
        <translation>尊敬的用户！您尚未通过%1，上传文件夹中的视频文件将被忽略。如果接受，请点击“确定”。</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your download requests.</source>
        <translation>尊敬的用户！您尚未通过%1，下载请求中的视频文件将被忽略。</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your download folders.If you accept, please click OK.</source>
        <translation>尊敬的用户！您尚未通过%1，下载文件夹中的视频文件将被忽略。如果接受，请点击“确定”。</translation>
    </message>
</context>
<context>
    <name>TransferItemWidget</name>
    <message>
        <source>%1 of %2 files</source>
        <translation>%1/%2 个文件</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>TransferListWidget</name>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Promption</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Are you sure to cancel all transmission?</source>
        <translation>确定要取消所有传输吗？</translation>
    </message>
    <message>
        <source>No uploads. Drop files on a folder of the drive to send them.</source>
        <translation>没有上传任务。把文件拖到网盘文件夹上即可上传。</translation>
    </message>
    <message>
        <source>No downloads. Choose files of the drive and press Download.</source>
        <translation>没有下载任务。在网盘中选择文件并点击下载。</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>开始</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>Are you sure to cancel the %1 selected transfers?</source>
        <translation>确定要取消选中的 %1 个传输吗？</translation>
    </message>
</context>
<context>
    <name>TransferStatusDockWidget</name>
    <message>
        <source>Transfer Status Info</source>
        <translation>传输状态信息</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>sub-center</source>
        <translation>分中心</translation>
    </message>
    <message>
        <source>No connection yet. One is made with the first transfer.</source>
        <translation>尚无连接。首次传输时将建立连接。</translation>
    </message>
</context>
<context>
    <name>TransferSummaryBar</name>
    <message>
        <source>%1 of %2 files</source>
        <translation>%1 / %2 个文件</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 / %2</translation>
    </message>
    <message>
        <source>still counting</source>
        <translation>仍在统计</translation>
    </message>
    <message>
        <source>about %1 left</source>
        <translation>约剩 %1</translation>
    </message>
    <message>
        <source>%1 files done</source>
        <translation>已完成 %1 个文件</translation>
    </message>
    <message>
        <source>%1 paused</source>
        <translation>%1 个已暂停</translation>
    </message>
    <message>
        <source>%1 failed</source>
        <translation>%1 个失败</translation>
    </message>
    <message>
        <source>Upload: %1</source>
        <translation>上传：%1</translation>
    </message>
    <message>
        <source>Download: %1</source>
        <translation>下载：%1</translation>
    </message>
    <message>
        <source>Transfer Status</source>
        <translation>传输状态</translation>
    </message>
</context>
<context>
    <name>TransferTaskModel</name>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>进度</translation>
    </message>
    <message>
        <source>Speed</source>
        <translation>速度</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>To: %1</source>
        <translation>到：%1</translation>
    </message>
    <message>
        <source>%1 of %2 files</source>
        <translation>%1/%2 个文件</translation>
    </message>
    <message>
        <source>%1 files failed</source>
        <translation>%1 个文件失败</translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>剩余时间</translation>
    </message>
</context>
<context>
    <name>TransferTexts</name>
    <message>
        <source>preparing...</source>
        <translation>准备中...</translation>
    </message>
    <message>
        <source>transferring...</source>
        <translation>传输中...</translation>
    </message>
    <message>
        <source>pausing...</source>
        <translation>正在暂停...</translation>
    </message>
    <message>
        <source>paused...</source>
        <translation>已暂停</translation>
    </message>
    <message>
        <source>canceling...</source>
        <translation>正在取消...</translation>
    </message>
    <message>
        <source>success...</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>waiting...</source>
        <translation>等待中...</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>开始</translation>
    </message>
    <message>
        <source>Pausing</source>
        <translation>正在暂停</translation>
    </message>
    <message>
        <source>Canceling</source>
        <translation>正在取消</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>The connection to the transfer server failed</source>
        <translation>与传输服务器的连接失败</translation>
    </message>
    <message>
        <source>The server refused the transfer</source>
        <translation>服务器拒绝了传输</translation>
    </message>
    <message>
        <source>The source was not found</source>
        <translation>找不到源文件</translation>
    </message>
    <message>
        <source>Not enough storage</source>
        <translation>存储空间不足</translation>
    </message>
    <message>
        <source>The source changed during the transfer</source>
        <translation>源文件在传输过程中发生了更改</translation>
    </message>
    <message>
        <source>A name cannot be stored at the destination</source>
        <translation>目标位置无法使用该名称</translation>
    </message>
    <message>
        <source>The data arrived damaged</source>
        <translation>收到的数据已损坏</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>已取消</translation>
    </message>
    <message>
        <source>A local file cannot be read or written</source>
        <translation>无法读取或写入本地文件</translation>
    </message>
    <message>
        <source>The transfer failed</source>
        <translation>传输失败</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 分 %2 秒</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 分钟</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 小时 %2 分</translation>
    </message>
    <message>
        <source>%1 d %2 h</source>
        <translation>%1 天 %2 小时</translation>
    </message>
    <message>
        <source>It is tried again by itself. If it lasts, check the network and the firewall.</source>
        <translation>系统会自动重试。若持续出现，请检查网络和防火墙。</translation>
    </message>
    <message>
        <source>Check that you may use this folder, log in again, then retry.</source>
        <translation>请确认您有权使用此文件夹，重新登录后重试。</translation>
    </message>
    <message>
        <source>It was moved, renamed or deleted. Put it back, then retry.</source>
        <translation>源文件已被移动、重命名或删除。请放回后重试。</translation>
    </message>
    <message>
        <source>Make room at the destination; the task then goes on by itself.</source>
        <translation>请在目标位置腾出空间，任务随后会自动继续。</translation>
    </message>
    <message>
        <source>Another program is writing it. Retry when that is done.</source>
        <translation>其他程序正在写入该文件，请等其完成后重试。</translation>
    </message>
    <message>
        <source>Rename it, or choose another destination.</source>
        <translation>请重命名，或选择其他目标位置。</translation>
    </message>
    <message>
        <source>Retry. If it happens again, have the disk and the network checked.</source>
        <translation>请重试。若再次出现，请检查磁盘和网络。</translation>
    </message>
    <message>
        <source>Close programs that use the file and check its permissions, then retry.</source>
        <translation>请关闭正在使用该文件的程序并检查权限，然后重试。</translation>
    </message>
    <message>
        <source>Whoever shared it may have ended that; ask for it to be shared again.</source>
        <translation>分享者可能已结束分享，请让其重新分享。</translation>
    </message>
</context>
<context>
    <name>TransferringWidget</name>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Start All</source>
        <translation>全部开始</translation>
    </message>
    <message>
        <source>Pause All</source>
        <translation>全部暂停</translation>
    </message>
    <message>
        <source>Cancel All</source>
        <translation>全部取消</translation>
    </message>
    <message>
        <source>Clear All</source>
        <translation>全部清除</translation>
    </message>
    <message>
        <source>Uploading</source>
        <translation>正在上传</translation>
    </message>
    <message>
        <source>Downloading</source>
        <translation>正在下载</translation>
    </message>
    <message>
        <source>Finished</source>
        <translation>已完成</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>以及其他 %1 个</translation>
    </message>
    <message>
        <source>following tasks are already running</source>
        <translation>以下任务已在进行</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>上传</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>Tasks already running</source>
        <translation>任务已在进行</translation>
    </message>
    <message>
        <source>Not enough storage</source>
        <translation>存储空间不足</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Retry All Failed</source>
        <translation>重试全部失败项</translation>
    </message>
</context>
<context>
    <name>UdtSettings</name>
    <message>
        <source>Upload</source>
        <translation>上传</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下载</translation>
    </message>
    <message>
        <source>Always ask before starting</source>
        <translation>开始前总是询问</translation>
    </message>
    <message>
        <source>Always use the same path</source>
        <translation>总是使用同一路径</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>应用</translation>
    </message>
    <message>
        <source>1Mbps = 125KB/s</source>
        <translation>1Mbps = 125KB/s</translation>
    </message>
    <message>
        <source>Target speeds hold at once, also for what is being transferred. Modes hold from the next start of a task.</source>
        <translation>目标速度立即生效，对正在传输的任务同样有效。模式从任务下次开始时生效。</translation>
    </message>
    <message>
        <source>Sub-center</source>
        <translation>分中心</translation>
    </message>
    <message>
        <source>Each sub-center has settings of its own.</source>
        <translation>每个分中心有各自的设置。</translation>
    </message>
    <message>
        <source>Transfer type</source>
        <translation>传输类型</translation>
    </message>
    <message>
        <source>Holds from the next start of a task.</source>
        <translation>从任务下次开始时生效。</translation>
    </message>
    <message>
        <source>FileVerify</source>
        <translation>文件校验</translation>
    </message>
    <message>
        <source>Method. For all sub-centers, from the next start of a task.</source>
        <translation>方式。适用于所有分中心，从任务下次开始时生效。</translation>
    </message>
    <message>
        <source>Method</source>
        <translation>方式</translation>
    </message>
    <message>
        <source>Download Path</source>
        <translation>下载路径</translation>
    </message>
    <message>
        <source>Specified a default path for downloading</source>
        <translation>指定默认下载路径</translation>
    </message>
    <message>
        <source>Are you sure to switch transfer type?</source>
        <translation>确定要切换传输类型吗？</translation>
    </message>
    <message>
        <source>To switch transfer type for ongoing jobs, please pause then resume them.</source>
        <translation>要切换正在进行的任务的传输类型，请先暂停再继续。</translation>
    </message>
    <message>
        <source>Files will be transferred from BEGINNING after switching transfer type.</source>
        <translation>切换传输类型后，文件将从头开始传输。</translation>
    </message>
    <message>
        <source>Select target folder</source>
        <translation>选择目标文件夹</translation>
    </message>
    <message>
        <source>The download path is no folder of this computer.</source>
        <translation>下载路径不是本机上的文件夹。</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>已保存。</translation>
    </message>
    <message>
        <source>The settings could not be saved and hold until the program ends.</source>
        <translation>设置未能保存，在程序结束前有效。</translation>
    </message>
</context>
<context>
    <name>UpdateDialog</name>
    <message>
        <source>Looking for a new version...</source>
        <translation>正在检查新版本...</translation>
    </message>
    <message>
        <source>Install now</source>
        <translation>立即安装</translation>
    </message>
    <message>
        <source>When the program ends</source>
        <translation>退出时安装</translation>
    </message>
    <message>
        <source>New version</source>
        <translation>新版本</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>The new version is being fetched: %1 of %2</source>
        <translation>正在获取新版本：%1 / %2</translation>
    </message>
    <message>
        <source>This is the newest version.</source>
        <translation>当前已是最新版本。</translation>
    </message>
    <message>
        <source>The update check failed.</source>
        <translation>检查更新失败。</translation>
    </message>
    <message>
        <source>The update is not signed by the maker and was refused.</source>
        <translation>更新未经开发者签名，已拒绝。</translation>
    </message>
    <message>
        <source>There is not enough space for the update.</source>
        <translation>磁盘空间不足，无法更新。</translation>
    </message>
    <message>
        <source>Version %1 is ready to be installed.</source>
        <translation>版本 %1 已可安装。</translation>
    </message>
    <message>
        <source>Version %1 is available. It comes through the package manager of this system.</source>
        <translation>版本 %1 已发布，请通过系统的软件包管理器更新。</translation>
    </message>
</context>
<context>
    <name>UserPicker</name>
    <message>
        <source>Name of a user</source>
        <translation>用户名称</translation>
    </message>
    <message>
        <source>Found users</source>
        <translation>找到的用户</translation>
    </message>
    <message>
        <source>Users that see the share</source>
        <translation>可查看分享的用户</translation>
    </message>
    <message>
        <source>Shared with</source>
        <translation>分享给</translation>
    </message>
    <message>
        <source>A double click adds a user, and takes one away again.</source>
        <translation>双击可添加用户，再次双击可移除。</translation>
    </message>
    <message>
        <source>No user has this in the name.</source>
        <translation>没有名称中包含此内容的用户。</translation>
    </message>
</context>
<context>
    <name>UserShareDialog</name>
    <message>
        <source>Share with users</source>
        <translation>分享给用户</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>保存</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>End this share</source>
        <translation>结束此分享</translation>
    </message>
</context>
</TS>
